#include "ToolTest.h"

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;

class Report : public ToolTest {
public:
  /// The JSON of one report command.
  static Json
  ReportJson (const std::string &Line, int ExitCode = 0)
  {
    const ToolResult Result = Run ("report --json " + Line);
    EXPECT_EQ (Result.ExitCode, ExitCode) << Result.Err;
    EXPECT_EQ (Result.Err, "");
    return Json::parse (Result.Out);
  }
};

TEST_F (Report, ReadsAsOneStoryFromRecordToEvent)
{
  Make ("memory --socket 1 --channel 2 --dimm 0 --address 0x1000 --fru-text DIMM -o one.cper");
  const ToolResult Result = Run ("report one.cper");
  EXPECT_EQ (Result.ExitCode, 0);
  EXPECT_EQ (Result.Err, "");
  const std::string Start = "one.cper: memory error, corrected\n"
                            "  socket 1, channel 2, dimm 0, address 0x1000\n"
                            "  FRU \"DIMM\"\n"
                            "  log:\n"
                            "    Inside QsmLogErrorWrapper() Memory Error ...\n"
                            "    FindRedFishId() Entry\n";
  const std::string End =
      "  event: memory, Warning, \"CPU1_C2_D0\"\n"
      "    NetFn 0x32, LUN 0, Cmd 0x2C: 00 02 01 43 50 55 31 5F 43 32 5F 44 30 00\n";
  EXPECT_TRUE (Result.Out.starts_with (Start)) << Result.Out;
  EXPECT_TRUE (Result.Out.ends_with (End)) << Result.Out;
  EXPECT_EQ (Run ("report --quiet one.cper").Out, Start.substr (0, Start.find ("  log:")) + End);
}

TEST_F (Report, SaysWhatBecomesOfEachSample)
{
  const std::map<std::string, std::string> Expected = {
      {"memory-corrected.cper", "memory Warning CPU1_C2_D0"},
  };
  std::ifstream List (QSM_SAMPLE_LIST);
  for (std::string Line; std::getline (List, Line);) {
    if (!Line.empty () && Line[0] != '#') {
      Make (Line);
    }
  }
  const Json Result = ReportJson (".");
  std::map<std::string, std::string> Found;
  for (const Json &Record : Result["records"]) {
    std::string &Text = Found[std::filesystem::path (Record["file"]).filename ()];
    for (const Json &Event : Record["events"]) {
      Text += Event["class"].get<std::string> () + " " + Event["severity"].get<std::string> () +
              " " + Event["id"].get<std::string> ();
    }
    if (!Record["dropped"].is_null ()) {
      Text += Record["dropped"];
    }
  }
  EXPECT_EQ (Json (Found).dump (1), Json (Expected).dump (1));
}

} // namespace
