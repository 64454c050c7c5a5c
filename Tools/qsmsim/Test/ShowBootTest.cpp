#include "QsmsimTest.h"

#include <algorithm>

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;

class ShowBoot : public QsmsimTest {
public:
  Json
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
  EXPECT_EQ (Shown["stores"].size (), 7U);
  for (const Json &Store : Shown["stores"]) {
    EXPECT_EQ (Store["locked"], true);
    EXPECT_EQ (Store["memory"], Store["name"] == "RasAcpiParam" ? "outside" : "smm");
    EXPECT_EQ (Store["madeBy"], 0);
    EXPECT_EQ (Store["usedBy"].dump (), "[0,1,2]");
  }
  EXPECT_EQ (Shown["stores"][2]["size"], 3226);
  EXPECT_EQ (Shown["stores"][2]["start"], "00 00 00 00 FF FF FF FF FF FF FF FF FF FF FF FF");
  const std::string Out = Run ("show stores").Out;
  EXPECT_TRUE (Out.starts_with ("Two-socket server: 1 driver, stage locked, 7 shared stores\n"
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

TEST_F (ShowBoot, ShowsTheTopologyOfEachSocketInBothForms)
{
  for (const bool Locked : {false, true}) {
    const std::string Line = "topology --platform " QSM_PLATFORM_DATA
                             "/FourSocket.json --drivers 2 --stage " +
                             std::string (Locked ? "locked" : "loaded");
    SCOPED_TRACE (Line);
    const Json Shown = ShowJson (Line);
    EXPECT_EQ (Shown["stage"], Locked ? "locked" : "loaded");
    std::string Counts;
    for (const Json &Socket : Shown["sockets"]) {
      Counts += Socket["maxPort"].dump () + "/" + std::to_string (Socket["ports"].size ()) + " ";
    }
    EXPECT_EQ (Counts, "33/22 41/27 49/33 57/38 ");
    const Json &Socket = Shown["sockets"][0];
    EXPECT_EQ (Socket["upiSocketByte69"], 0xC1);
    EXPECT_EQ (Socket["upiSocketByte71"], 0xC2);
    EXPECT_EQ (Socket["stacks"][4]["present"], false);
    EXPECT_EQ (
        Socket["stacks"][5].dump (),
        R"({"cxlRcrbAllOnes":true,"cxlReady":true,"policyStackByte20082":6,)"
        R"("policyStackByte20178":70,"present":true,"stack":5,"upiStackDword39":4026531974})");
    EXPECT_EQ (Socket["ports"][5].dump (),
               std::string (R"({"bus":32,"device":1,"function":1,"port":5,)") +
                   (Locked ? R"("secondaryBus":33,"subordinateBus":34})"
                           : R"("secondaryBus":0,"subordinateBus":0})"));

    const std::string Text = Run ("show " + Line).Out;
    EXPECT_EQ (std::count (Text.begin (), Text.end (), '\n'),
               1 + 4 * (2 + 13 + 1) + 22 + 27 + 33 + 38);
    for (const char *Part :
         {"  socket 0: 10 of 12 stacks, 22 of 33 ports, UPI 69 0xC1, UPI 71 0xC2,\n",
          "        2  yes      answers          0x03          0x43  0xF0000083\n",
          "        4  no       no               0x05          0x45  0xF0000085\n",
          "        5  yes      silent           0x06          0x46  0xF0000086\n",
          Locked ? "        5  20:01.1         21           22\n"
                 : "        5  20:01.1         00           00\n"}) {
      EXPECT_NE (Text.find (Part), std::string::npos) << Part << "\n" << Text;
    }
  }
}

TEST_F (ShowBoot, ShowsSocketsAsTheyAreDescribed)
{
  const std::string Description = R"({"name": "test", "devices": [],
      "processors": [{"cpuid": "intel-tulsa", "apicIds": [0]}], "sockets": )";
  Write ("own.json", Description + R"([{"maxPort": 57, "absentPorts": [0], "cxlStacks": [7]}, null,
                                       {"maxPort": 3, "absentPorts": [], "absentStacks": [0]}]})");
  std::string Counts;
  const Json Shown = ShowJson ("topology --platform own.json");
  for (const Json &Socket : Shown["sockets"]) {
    Counts += Socket["socket"].dump () + ": " + std::to_string (Socket["ports"].size ());
    for (const Json &Stack : Socket["stacks"]) {
      Counts += Stack["present"] == false ? " -" : Stack["cxlReady"] == true ? " cxl" : " +";
    }
    Counts += "\n";
  }
  EXPECT_EQ (Counts, "0: 56 + + + + - + + cxl + - + +\n"
                     "2: 3 - + cxl + + cxl + + + + + +\n");

  Write ("own.json", Description + R"([{"rcrbStacks": []}]})");
  const std::string Fault = "processor stopped at ServerSiliconPkg/Library/CxlIpLib/CxlIpLib:2469";
  EXPECT_EQ (ShowJson ("topology --platform own.json", 1)["fault"], Fault);
  const std::string Text = Run ("show topology --platform own.json").Out;
  EXPECT_TRUE (Text.ends_with ("\n  fault: " + Fault + "\n")) << Text;
}

TEST_F (ShowBoot, ShowsThePointersThatAreLeftAtEachStage)
{
  for (const bool Locked : {false, true}) {
    const std::string Line = std::string ("pointers --stage ") + (Locked ? "locked" : "loaded");
    SCOPED_TRACE (Line);
    const Json Shown = ShowJson (Line);
    EXPECT_EQ (Shown["sanitized"], Locked);
    EXPECT_EQ (Shown["smramRanges"][0]["cpuStart"], "0x000000030000");
    ASSERT_EQ (Shown["pointers"].size (), 16U);
    const Json &Copied = Shown["pointers"][0], &Raw = Shown["pointers"][7];
    EXPECT_EQ (Copied["inSmram"], true);
    EXPECT_EQ (Copied["size"], 64);
    EXPECT_EQ (Copied["signature"], "D0EE5959-BAE6-4709-AA2B-55BE9057656D");
    EXPECT_EQ (Raw["name"], "SptMemMapHost");
    EXPECT_EQ (Raw["inSmram"], Locked ? Json () : Json (false));
    EXPECT_EQ (Raw["address"].is_null (), Locked);
    EXPECT_EQ (Raw["size"], nullptr) << "nobody looks at what lies outside";
    EXPECT_EQ (Shown["pointers"][8]["name"], nullptr);

    const std::string Text = Run ("show " + Line).Out;
    for (const char *Part :
         {Locked ? ", sanitized\n" : ", not sanitized\n", "     0  SptSysHost             0x",
          "  in SMRAM, 64 bytes, signature D0EE5959-BAE6-4709-AA2B-55BE9057656D\n",
          Locked ? "     7  SptMemMapHost          none\n" : "  outside SMRAM\n",
          "    15  -                      none\n"}) {
      EXPECT_NE (Text.find (Part), std::string::npos) << Part << "\n" << Text;
    }
  }
}

TEST_F (ShowBoot, ShowsTheUpiRecords)
{
  const Json Shown = ShowJson ("upi --stage loaded");
  EXPECT_EQ (Shown["size"], 10472);
  std::string Sizes;
  for (const Json &Record : Shown["records"]) {
    Sizes += Record["name"].get<std::string> () + " " + Record["size"].dump () + ", ";
  }
  EXPECT_EQ (Sizes, "first record 590, UpiHostRecord 9179, third record 703, ");
  const Json &Record = Shown["records"][1];
  EXPECT_EQ (Record["socketBitmap"], 3);
  const Json &Stacks = Record["sockets"][1]["stacks"];
  EXPECT_EQ (Stacks[6]["cxlStatus"], 0x83);
  EXPECT_EQ (Stacks[8]["cxlStatus"], nullptr);
  EXPECT_EQ (Stacks[11]["upiStackDword39"], 0xF0000098);
  const std::string Text = Run ("show upi").Out;
  for (const char *Part : {"    socket 1: byte 69 0xCD, byte 71 0xCE\n",
                           "          6  0xF0000093  0x83\n", "         11  0xF0000098  -\n"}) {
    EXPECT_NE (Text.find (Part), std::string::npos) << Part << "\n" << Text;
  }
}

TEST_F (ShowBoot, EndsInAFaultWithoutWhatTheDriversShouldHaveLeft)
{
  for (const char *Topic : {"topology", "pointers", "upi"}) {
    SCOPED_TRACE (Topic);
    const ToolResult Result = Run (std::string ("show ") + Topic + " --driver " TEST_DRIVER);
    EXPECT_EQ (Result.ExitCode, 1);
    EXPECT_NE (Result.Out.find ("\n  fault: no driver has left the "), std::string::npos);
  }
  EXPECT_EQ (Run ("show stores --driver " TEST_DRIVER).ExitCode, 0);
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
