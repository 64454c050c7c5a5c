#include "QsmsimTest.h"

#include <algorithm>

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;

/// One processor, a device of each class, one socket of three ports.
constexpr const char *TINY = R"({"name": "tiny", "cmos": {"0x4C": 1, "0x4F": "0xFF"},
  "processors": [{"cpuid": "intel-tulsa", "apicIds": [0]}],
  "devices": [{"type": "processor", "id": "P", "socket": 0},
              {"type": "memory", "id": "D", "socket": 0, "channel": 2, "dimm": 3},
              {"type": "pcie", "id": null, "bus": 18, "device": 3, "function": 4},
              {"type": 9, "id": "F"}],
  "sockets": [{"maxPort": 3, "absentPorts": [], "absentStacks": [4]}]})";

class ShowBoot : public QsmsimTest {
public:
  ShowBoot ()
  {
    Write ("tiny.json", TINY);
  }

  Json
  ShowJson (const std::string &Line, int ExitCode = 0)
  {
    const ToolResult Result = Run ("show " + Line + " --json");
    EXPECT_EQ (Result.ExitCode, ExitCode) << Result.Err;
    return Json::parse (Result.Out);
  }
};

/// The text with what differs from process to process made alike: of addresses on the host all
/// digits, and of blocks' bytes those that are a pointer.
std::string
WithoutAddresses (std::string Text)
{
  for (std::size_t At = 0; (At = Text.find ("0x", At)) != std::string::npos; At += 2) {
    const std::size_t End =
        std::min (Text.find_first_not_of ("0123456789ABCDEF", At + 2), Text.size ());
    if (End - At == 14 && Text[At + 2] != '0') {
      Text.replace (At + 2, 12, "ADDRESS");
    }
  }
  for (std::size_t At = 0; (At = Text.find (" 00 00 ", At)) != std::string::npos; ++At) {
    const std::string Top = Text.substr (At - 2, 2);
    if (Top == "55" || Top == "56" || Top == "7E" || Top == "7F") {
      Text.replace (At - 17, 17, "POINTER");
    }
  }
  return Text;
}

TEST_F (ShowBoot, ShowsEachTopicOfATinyPlatform)
{
  for (const char *Topic : {"inventory", "stores", "hobs", "log", "topology", "pointers", "upi"}) {
    SCOPED_TRACE (Topic);
    const std::string File = std::string (QSM_EXPECTED_TEXTS "/show-") + Topic;
    const std::string Line = std::string ("show ") + Topic + " --platform tiny.json";
    const ToolResult Locked = Run (Line);
    EXPECT_EQ (Locked.ExitCode, 0) << Locked.Err;
    ExpectText (File + ".txt", WithoutAddresses (Locked.Out));
    if (std::string_view (Topic) == "topology" || std::string_view (Topic) == "pointers") {
      ExpectText (File + "-loaded.txt",
                  WithoutAddresses (Run (Line + " --stage loaded --drivers 2").Out));
    }
  }
  ExpectText (QSM_EXPECTED_TEXTS "/show-topology.json.txt",
              WithoutAddresses (Run ("show topology --platform tiny.json --json").Out));
  EXPECT_EQ (ShowJson ("inventory --platform tiny.json")["devices"], Json::parse (TINY)["devices"]);
}

/// What `dot` makes of a text, with its complaints.
std::string
Rendered (const std::string &Dot)
{
  ToolTest::Write ("dot", Dot);
  EXPECT_EQ (std::system ("dot -Tsvg dot >svg 2>&1"), 0) << Dot;
  return ToolTest::Read ("svg");
}

TEST_F (ShowBoot, DrawsAPictureThatGraphvizTakes)
{
  Json Description = Json::parse (TINY);
  Description["sockets"][0]["rootBuses"] = Json::array ({0x0F});
  Description["devices"].push_back (
      {{"type", "memory"}, {"id", "<&>"}, {"socket", 0}, {"channel", 2}, {"dimm", 3}});
  for (const int Bus : {0x0F, 0x10, 0x11, 0x20}) {
    Description["devices"].push_back ({{"type", "pcie"},
                                       {"id", "B" + std::to_string (Bus)},
                                       {"bus", Bus},
                                       {"device", 1},
                                       {"function", 0}});
  }
  Write ("tiny.json", Description.dump ());
  Make ("memory --severity fatal --socket 0 --channel 2 --dimm 3 -o a.cper");
  Make ("pcie --bus 0x12 --device 3 --function 4 -o b.cper");
  Make ("processor --severity informational -o c.cper");
  const std::string Blamed = "report a.cper b.cper a.cper b.cper c.cper";
  for (const auto &[Line, File] :
       {std::pair{std::string ("show topology"), "topology"},
        std::pair{std::string ("show inventory"), "inventory"}, std::pair{Blamed, "blamed"}}) {
    SCOPED_TRACE (Line);
    const std::string Dot = Run (Line + " --dot --platform tiny.json").Out;
    ExpectText (std::string (QSM_EXPECTED_TEXTS "/") + File + ".dot.txt", Dot);
    const std::string Svg = Rendered (Dot);
    EXPECT_NE (Svg.find (">&lt;&amp;&gt;</text>"), std::string::npos) << Svg;
  }
  EXPECT_EQ (Run ("show topology --dot --driver " TEST_DRIVER).ExitCode, 1);
  EXPECT_NE (
      Rendered (Run ("show inventory --dot --platform " QSM_PLATFORM_DATA "/FourSocket.json").Out)
          .find ("CPU3_NVMe3"),
      std::string::npos);
}

TEST_F (ShowBoot, TakesTheMaskFromCmosOrFromItsBlock)
{
  Json Description = Json::parse (TINY);
  Description["cmos"] = {{"0x4F", 255}};
  Description["logLevelMask"] = "0x08000001";
  Write ("hob.json", Description.dump ());
  const struct {
    const char *Options, *Mask;
    bool Logs;
  } Rows[] = {
      {"", "0x00000000", false},
      {" --platform tiny.json --cmos 0x4F=0 --cmos 77=2", "0x00000201", false},
      {" --platform hob.json --cmos 0x4C=255", "0x08000001", true},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Options);
    const Json Log = ShowJson (std::string ("log --drivers 2") + Row.Options);
    EXPECT_EQ (Log["levelMask"], Row.Mask);
    EXPECT_EQ (Log["text"] != "", Row.Logs);
  }
}

TEST_F (ShowBoot, EndsInAFaultAsFarAsItCame)
{
  Json Description = Json::parse (TINY);
  Description["sockets"] = Json::array ({{{"rcrbStacks", Json::array ()}}});
  Write ("stopped.json", Description.dump ());
  Write ("driver.so", "no shared object");
  const struct {
    const char *Line, *Fault;
  } Rows[] = {
      {"topology --platform stopped.json",
       "processor stopped at ServerSiliconPkg/Library/CxlIpLib/CxlIpLib:2469"},
      {"topology --driver " TEST_DRIVER, "no driver has left the shared buffer PlatIioTopology"},
      {"pointers --driver " TEST_DRIVER, "no driver has left the static pointer table"},
      {"upi --driver " TEST_DRIVER, "no driver has left the UPI host data"},
      {"hobs --driver driver.so", "/tmp/qsm-driver-"},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Line);
    const ToolResult Result = Run (std::string ("show ") + Row.Line);
    EXPECT_EQ (Result.ExitCode, 1);
    EXPECT_NE (Result.Out.find (std::string ("\n  fault: ") + Row.Fault), std::string::npos)
        << Result.Out;
  }
}

} // namespace
