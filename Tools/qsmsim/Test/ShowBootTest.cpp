#include "ToolTest.h"

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;

class ShowBoot : public ToolTest {
public:
  static Json
  ShowJson (const std::string &Line, int ExitCode = 0)
  {
    const ToolResult Result = Run ("show " + Line + " --json");
    EXPECT_EQ (Result.ExitCode, ExitCode) << Result.Err;
    return Json::parse (Result.Out);
  }
};

TEST_F (ShowBoot, TellsWhoMadeAndUsesEachStore)
{
  const Json Shown = ShowJson ("stores --drivers 3");
  EXPECT_EQ (Shown["drivers"], 3);
  std::string Text;
  for (const Json &Store : Shown["stores"]) {
    EXPECT_EQ (Store["locked"], true);
    Text += Store["name"].get<std::string> () + " " + Store["size"].dump () + " " +
            Store["memory"].dump () + " " + Store["madeBy"].dump () + Store["usedBy"].dump () +
            "\n";
  }
  EXPECT_EQ (Text, "LoggingLock 16 \"smm\" 0[0,1,2]\n"
                   "RasMailBox 632 \"smm\" 0[0,1,2]\n"
                   "RasAcpiParam 3226 \"outside\" 0[0,1,2]\n"
                   "SmmPlatMemTopology 12972 \"smm\" 0[0,1,2]\n"
                   "PlatIioTopology 2664 \"smm\" 0[0,1,2]\n"
                   "MemErrorRecordList 103432 \"smm\" 0[0,1,2]\n"
                   "ProcessorErrorRecordList 110088 \"smm\" 0[0,1,2]\n");
  EXPECT_EQ (Shown["stores"][2]["start"], "00 00 00 00 FF FF FF FF FF FF FF FF FF FF FF FF");
  const std::string Out = Run ("show stores").Out;
  EXPECT_TRUE (Out.starts_with ("Two-socket server: 1 driver, 7 shared stores\n"
                                "  LoggingLock                   16 bytes at 0x"))
      << Out;
  EXPECT_NE (Out.find (", outside SMM, locked, made by driver 0, used by 1 driver\n    00 00 00 00 "
                       "FF FF FF FF FF FF FF FF FF FF FF FF ...\n"),
             std::string::npos)
      << Out;
}

TEST_F (ShowBoot, TakesTheMaskFromCmosOrFromItsBlock)
{
  const std::string Description = R"({"name": "test", "devices": [],
      "processors": [{"cpuid": "intel-tulsa", "apicIds": [0]}], )";
  Write ("cmos.json", Description + R"("cmos": {"0x4C": 1, "0x4F": "0xFF"}})");
  Write ("hob.json", Description + R"("cmos": {"0x4F": 255}, "logLevelMask": "0x08000001"})");
  const struct {
    const char *Options, *Mask, *Data;
    bool Logs;
  } Rows[] = {
      {"", "0x00000000", "00 00 00 00", false},
      {" --platform cmos.json", "0xFF000001", "01 00 00 FF", true},
      {" --platform cmos.json --cmos 0x4F=0 --cmos 77=2", "0x00000201", "01 02 00 00", false},
      {" --platform hob.json --cmos 0x4C=255", "0x08000001", "01 00 00 08", true},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Options);
    const Json Hobs = ShowJson (std::string ("hobs --drivers 2") + Row.Options)["hobs"];
    EXPECT_EQ (Hobs.front ()["type"], "phase hand-off");
    EXPECT_EQ (Hobs.back ()["typeNumber"], 0xFFFF);
    UINTN MaskBlocks = 0;
    for (const Json &Hob : Hobs) {
      if (Hob["name"] == "0105944D-499F-4950-B442-5199C0E7015F") {
        EXPECT_EQ (Hob["data"].get<std::string> ().substr (0, 11), Row.Data);
        ++MaskBlocks;
      }
    }
    EXPECT_EQ (MaskBlocks, 1U);
    const Json Log = ShowJson (std::string ("log") + Row.Options);
    EXPECT_EQ (Log["levelMask"], Row.Mask);
    EXPECT_EQ (Log["text"] != "", Row.Logs);
  }
}

TEST_F (ShowBoot, ShowsABootAsFarAsItCame)
{
  Write ("driver.so", "no shared object");
  const ToolResult Result = Run ("show hobs --driver driver.so");
  EXPECT_EQ (Result.ExitCode, 1);
  EXPECT_NE (Result.Out.find ("\n  end of list            8 bytes\n  fault: "), std::string::npos)
      << Result.Out;
  EXPECT_EQ (ShowJson ("log --driver driver.so", 1)["levelMask"], nullptr);
  EXPECT_NE (ShowJson ("stores --driver driver.so", 1)["fault"], nullptr);
}

} // namespace
