#include "QsmsimTest.h"

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;

class Report : public QsmsimTest {
public:
  /// The JSON of one report command.
  Json
  ReportJson (const std::string &Line, int ExitCode = 0)
  {
    const ToolResult Result = Run ("report --json " + Line);
    EXPECT_EQ (Result.ExitCode, ExitCode) << Result.Err;
    EXPECT_EQ (Result.Err, "");
    return Json::parse (Result.Out);
  }

  /// What came of one record: the decoded event, or why it was dropped.
  std::string
  Outcome (const Json &Record)
  {
    if (!Record["dropped"].is_null ()) {
      return Record["dropped"]["code"];
    }
    const Json &Event = Record["events"][0];
    return Event["class"].get<std::string> () + " " + Event["severity"].get<std::string> () + " " +
           Event["id"].get<std::string> ();
  }
};

TEST_F (Report, ReadsAsOneStoryFromRecordToEvent)
{
  Make ("memory --socket 1 --channel 2 --dimm 0 --address 0x1000 --fru-text DIMM -o one.cper");
  const ToolResult Result = Run ("report one.cper");
  EXPECT_EQ (Result.ExitCode, 0);
  EXPECT_EQ (Result.Err, "");
  const std::string Start = "one.cper: memory error, corrected\n"
                            "  record id 0x1, notification cmc\n"
                            "  section 1 of 1: memory, corrected, 80 bytes at 200, primary, "
                            "FRU \"DIMM\"\n"
                            "  socket 1, channel 2, dimm 0, address 0x1000\n"
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
      {"dropped-firmware-section.cper", "unknown-section"},
      {"dropped-informational.cper", "severity-without-event"},
      {"dropped-no-such-dimm.cper", "no-device-at-place"},
      {"memory-corrected.cper", "memory Warning CPU1_C2_D0"},
      {"memory-fatal.cper", "memory Critical CPU0_C7_D1"},
      {"memory-recoverable.cper", "memory Critical CPU0_C0_D0"},
      {"pcie-corrected.cper", "pcie Warning Slot3_NVMe0"},
      {"pcie-fatal.cper", "pcie Critical Slot5_GPU_Audio"},
      {"processor-corrected.cper", "processor Warning CPU0"},
      {"processor-fatal.cper", "processor Critical CPU0"},
  };
  std::ifstream List (QSM_SAMPLE_LIST);
  for (std::string Line; std::getline (List, Line);) {
    if (!Line.empty () && Line[0] != '#') {
      Make (Line);
    }
  }
  std::map<std::string, std::string> Found;
  const Json Result = ReportJson (".");
  for (const Json &Record : Result["records"]) {
    Found[std::filesystem::path (Record["file"]).filename ()] = Outcome (Record);
  }
  EXPECT_EQ (Json (Found).dump (1), Json (Expected).dump (1));
  EXPECT_EQ (Result["summary"]["dropped"], 3);
}

TEST_F (Report, TakesThePlatformFromItsFile)
{
  Write ("platform.json", R"({"name": "test", "processors": [
      {"cpuid": "amd-naples", "first": 62, "count": 4}], "devices": [
      {"type": "processor", "id": null, "socket": 1},
      {"type": "processor", "id": "CPU0", "socket": 0}]})");
  Make ("processor --severity recoverable -o processor.cper");
  const Json Result = ReportJson ("processor.cper --cpu 2 --platform platform.json");
  EXPECT_EQ (Result["platform"], "test");
  EXPECT_EQ (Result["records"][0]["events"][0]["bytes"],
             "00 01 01 3C 6E 75 6C 6C 20 73 74 72 69 6E 67 3E 00");
}

TEST_F (Report, PointsOutWhatTheDriverReadsDifferently)
{
  Make ("memory --socket 0x101 --channel 2 --dimm 0 -o record");
  const struct {
    std::map<UINTN, char> Bytes; ///< By their offsets.
    const char *Event, *Codes;
  } Rows[] = {
      // RecordLength, SectionCount, SectionOffset, SectionSeverity, ValidationBits
      {{{20, 9}, {10, 2}, {128, 24}, {176, 1}, {200, 0}},
       "memory Warning CPU1_C2_D0",
       "record-length-differs section-count section-severity-differs section-severity-differs "
       "body-not-at-200 location-not-valid low-bits-compared "},
      // SectionLength, and ErrorSeverity with SectionSeverity
      {{{132, 34}}, "memory Warning CPU1_C2_D0", "body-too-short low-bits-compared "},
      {{{12, 7}, {176, 7}},
       "memory Critical CPU1_C2_D0",
       "severity-unknown low-bits-compared informational-is-critical "},
  };
  const std::string Whole = Read ("record");
  for (const auto &Row : Rows) {
    std::string Record = Whole;
    for (const auto &[Offset, Byte] : Row.Bytes) {
      Record[Offset] = Byte;
    }
    Write ("record", Record);
    const Json Result = ReportJson ("record --raw")["records"][0];
    std::string Codes;
    for (const Json &Note : Result["notes"]) {
      Codes += Note["code"].get<std::string> () + " ";
    }
    EXPECT_EQ (Codes, Row.Codes);
    EXPECT_EQ (Outcome (Result), Row.Event);
  }
}

TEST_F (Report, DoubtsTheDeviceWhereTheRecordTellsAnother)
{
  const std::string Memory = "memory --socket 0 --channel 2 --dimm 0";
  const std::string Slot = "pcie --bus 0xA0 --device 0 --function 0";
  const std::string FruStart =
      "the driver takes node 0 for a socket, which it need not be: the FRU "
      "text ";
  const std::string SegmentEnd = "; the driver takes a device of any segment";
  const struct {
    std::string Make, Note;
  } Rows[] = {
      {Memory + " --fru-text B1", FruStart + R"("B1" may name socket 1 (or channel B of another))"},
      {Memory + " --fru-text P2-DIMMA1",
       FruStart + R"("P2-DIMMA1" may name socket 2 (or 1 if it counts from 1))"},
      {Memory + " --fru-text CPU0_A", ""},
      {Memory + " --fru-text Loop2_Cap3", ""},
      {Slot + " --segment 2", ""},
      {Slot, "the record is of segment 0, and bus 0xA0 is of segment 2" + SegmentEnd},
      {Slot + " --segment 4",
       "the record is of segment 4, which no socket of the platform has" + SegmentEnd},
  };
  for (const auto &Row : Rows) {
    Make (Row.Make + " -o record");
    const Json Notes = ReportJson ("record --platform " QSM_PLATFORM_DATA
                                   "/FourSocket.json")["records"][0]["notes"];
    EXPECT_EQ (Notes.empty () ? "" : Notes[0]["text"], Row.Note) << Row.Make;
  }
}

TEST_F (Report, NamesTheDeviceOfASectionThatTheDriverIgnores)
{
  Make ("memory --socket 0 --channel 2 --dimm 0 -o one");
  Make ("memory --socket 1 --channel 2 --dimm 0 -o two");
  std::string Both = Read ("one").substr (0, 200) + Read ("two").substr (128, 72) +
                     Read ("one").substr (200) + Read ("two").substr (200);
  Both.replace (10, 1, "\x02")
      .replace (20, 2, "\xB0\x01")
      .replace (128, 2, "\x10\x01")
      .replace (200, 2, "\x60\x01");
  Write ("both", Both);
  const std::string Text = Run ("report both --quiet").Out;
  for (const char *Note :
       {"section 2 is of a memory error at socket 1, channel 2, dimm 0, of which the driver",
        "an event would name another device, that at socket 0, channel 0, dimm 0 and not that at "
        "socket 0, channel 2, dimm 0"}) {
    EXPECT_NE (Text.find (Note), std::string::npos) << Text;
  }
}

TEST_F (Report, HandsOverRawBytesInAPageOfZeros)
{
  Make ("memory --socket 1 --channel 2 --dimm 0 -o record");
  Write ("cut", Read ("record").substr (0, 234));
  Write ("empty", "");
  const Json Result = ReportJson ("--raw cut empty")["records"];
  EXPECT_EQ (Outcome (Result[0]), "memory Warning CPU1_C0_D0");
  EXPECT_EQ (Outcome (Result[1]), "unknown-section");
  EXPECT_EQ (Result[0]["driverReads"], Json::parse (R"({"socket": 1, "channel": 0, "dimm": 0})"));
  EXPECT_EQ (Result[0]["notes"].back ()["code"], "zeros-read");
  const Json Exact = ReportJson ("cut")["records"][0];
  EXPECT_EQ (Outcome (Exact), "location-cut") << "rather than that the driver reads beyond it";
  EXPECT_EQ (Exact["fields"]["socket"], 1);
}

TEST_F (Report, GoesToEachDriverOfTheBoot)
{
  Make ("processor -o record");
  const Json Result = ReportJson ("record --drivers 3");
  EXPECT_EQ (Result["records"][0]["events"].size (), 3U);
  EXPECT_EQ (Result["summary"]["events"], 1) << "records of which the BMC hears";
}

TEST_F (Report, EndsAtAFaultWithCodeOne)
{
  // The test driver is stopped by a record that begins with an a.
  Write ("a", "a");
  Write ("b", "b");
  Write ("driver.so", "no shared object");
  const ToolResult Stopped =
      Run (std::string ("report --quiet --raw b a b --driver ") + TEST_DRIVER);
  EXPECT_EQ (Stopped.ExitCode, 1);
  EXPECT_TRUE (
      Stopped.Out.ends_with ("  fault: processor stopped at Test/Driver:12\n"
                             "2 records: 0 with events, 1 dropped, 1 faults, 0 refused, the rest "
                             "not reported\n  dropped because:\n       1  unknown-section\n"))
      << Stopped.Out;
  const Json NotLoaded = ReportJson ("--raw b --driver driver.so", 1);
  EXPECT_NE (NotLoaded["boot"]["fault"].get<std::string> ().find ("driver"), std::string::npos);
  EXPECT_EQ (NotLoaded["records"].size (), 0U);
}

TEST_F (Report, IsColouredAsItIsAskedTo)
{
  Make ("processor -o re\x1B[cord");
  const struct {
    const char *NoColour, *Terminal, *Option;
    bool IsTerminal, IsColoured;
  } Rows[] = {
      {"", "xterm", "--quiet", true, true},        {"1", "xterm", "--quiet", true, false},
      {"", "dumb", "--quiet", true, false},        {"1", "dumb", "--color=always", false, true},
      {"", "xterm", "--color=never", true, false}, {"1", "xterm", "--color=auto", true, false},
  };
  for (const auto &Row : Rows) {
    setenv ("NO_COLOR", Row.NoColour, 1);
    setenv ("TERM", Row.Terminal, 1);
    std::ostringstream Out, Err;
    Console Console = {.Out = Out, .Err = Err, .OutIsTerminal = Row.IsTerminal};
    const char *Arguments[] = {"qsmsim", "report", Row.Option, "re\x1B[cord"};
    EXPECT_EQ (QsmsimMain (4, Arguments, Console), 0) << Err.str ();
    EXPECT_TRUE (Out.str ().starts_with (Row.IsColoured ? "\x1B[1mre\\x1B[cord\x1B[0m: processor"
                                                        : "re\\x1B[cord: processor"))
        << Out.str ();
    EXPECT_EQ (Out.str ().find ('\x1B') != std::string::npos, Row.IsColoured);
  }
}

TEST_F (Report, IsColouredAndCountedOnATerminalOnly)
{
  Make ("processor -o record");
  setenv ("NO_COLOR", "", 1);
  setenv ("TERM", "xterm", 1);
  std::vector<const char *> Arguments (25, "record");
  Arguments[0] = "qsmsim";
  Arguments[1] = "report";
  for (const bool ForPeople : {true, false}) {
    Arguments[2] = ForPeople ? "--quiet" : "--json";
    for (const bool IsTerminal : {false, true}) {
      std::ostringstream Out, Err;
      Console Console = {
          .Out = Out, .Err = Err, .OutIsTerminal = IsTerminal, .ErrIsTerminal = IsTerminal};
      EXPECT_EQ (QsmsimMain (static_cast<int> (Arguments.size ()), Arguments.data (), Console), 0);
      EXPECT_EQ (Out.str ().find ('\x1B') != std::string::npos, IsTerminal && ForPeople);
      EXPECT_EQ (Err.str (), IsTerminal && !ForPeople ? "\r20 records reported\r\x1B[K" : "");
    }
  }
}

} // namespace
