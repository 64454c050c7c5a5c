#include "QsmsimTest.h"

namespace {

constexpr const char *Corrected = "memory --socket 1 --channel 2 --dimm 0 -o ";
constexpr const char *Platform = R"({"name": "one", "devices": [],
  "processors": [{"cpuid": "intel-sapphire-rapids", "apicIds": [0, 1]}]})";

class BadInput : public QsmsimTest {
public:
  BadInput ()
  {
    Make (std::string (Corrected) + "good.cper");
    const std::string Good = Read ("good.cper");
    Write ("header", Good.substr (0, 127));
    Write ("descriptor", Good.substr (0, 199));
    Write ("unended", Good.substr (0, 6) + "FFFF" + Good.substr (10));
    Write ("large", Good.substr (0, 22) + "@" + Good.substr (23) + std::string (0x10000, 'x'));
    Write ("one.json", Platform);
    Write ("bad.json", "{\"name\": \"bad\"}");
  }
};

const ToolTest::Refusal BadLines[] = {
    {"", "A subcommand is required (see --help)"},
    {"report", "RECORD is required (see --help)"},
    {"report good.cper --cpus 1", "There is no \"--cpus\" here; did you mean --cpu? (see --help)"},
    {"show topologie", "There is no \"topologie\" here; did you mean topology? (see --help)"},
    {"report --jsom=x good.cper",
     "There is no \"--jsom=x\" here; did you mean --json? (see --help)"},
    {"report --color=red good.cper", "--color: expected auto, always, never, found \"red\""},
    {"make processor -o a\x1B[2J\u009B\x9B\u202E\u00FC/b",
     "a\\x1B[2J\\xC2\\x9B\\x9B\\xE2\\x80\\xAE\u00FC/b: expected a file that can be written: No "
     "such file or directory"},
    {"report nosuch", "nosuch: expected a readable file: No such file or directory"},
    {"report header", "header: offset 127: expected the record's header up to offset 127, found "
                      "the end of the record"},
    {"report unended", "unended: offset 6: expected the end of the signature, FF FF FF FF"},
    {"report descriptor", "descriptor: offset 199: expected the first section's descriptor up to "
                          "offset 199, found the end of the record"},
    {"report large", "large: offset 0x0: expected a record of 200 to 65535 bytes, its RecordLength "
                     "is 4194584"},
    {"report --raw large", "large: offset 65535: expected the end of the file"},
    {"report good.cper --platform bad.json",
     "bad.json: $.processors: expected a value, found none"},
    {"report good.cper --platform one.json --cpu 2",
     "--cpu: expected a number from 0 to 1, found \"2\""},
    {"report good.cper --status-code 2", "--status-code: expected TYPE:VALUE, numbers of 32 bits, "
                                         "found \"2\""},
    {"report good.cper --bmc-answer 256",
     "--bmc-answer: expected a completion code by its number or name, like invalid-command, or "
     "timeout, no-interface, device-error, not-ready, unsupported, empty, found \"256\""},
    {"report good.cper --inventory none",
     "--inventory: expected described, not-ready, late, found \"none\""},
    {"report good.cper --driver nosuch", "nosuch: expected a driver's shared object"},
    {"report good.cper --drivers 0", "--drivers: expected a number from 1 to 16, found \"0\""},
    {"show log --cmos 0x4C=1 --cmos 0x100=1",
     "--cmos: expected OFFSET=VALUE, numbers from 0 to 255, found \"0x100=1\""},
    {"show hobs --cmos 76=", "--cmos: expected OFFSET=VALUE, numbers from 0 to 255, found \"76=\""},
    {"show hobs --cmos 76", "--cmos: expected OFFSET=VALUE, numbers from 0 to 255, found \"76\""},
    {"show log --cmos 76=1 77=2", "There is no \"77=2\" here (see --help)"},
    {"show upi --stage boot", "--stage: expected loaded, locked, found \"boot\""},
    {"show inventory --drivers 2", "There is no \"--drivers\" here (see --help)"},
    {"make memory --channel 2 --dimm 0 -o new", "--socket is required (see --help)"},
    {"make memory --socket 0x10000 --channel 2 --dimm 0 -o new",
     "--socket: expected a number from 0 to 65535, found \"0x10000\""},
    {"make pcie --bus 0 --device 0 --function 8 -o new",
     "--function: expected a number from 0 to 7, found \"8\""},
    {"make processor --severity deadly -o new",
     "--severity: expected recoverable, fatal, corrected, informational or a number of 32 bits, "
     "found \"deadly\""},
    {"make processor --notification mail -o new",
     "--notification: expected cmc, cpe, mce, pcie, init, nmi, boot, dmar, sea, "
     "sei, pei, cxl, found \"mail\""},
    {"make processor --revision 0x102 -o new",
     "--revision: expected a number from 256 to 257, found \"0x102\""},
    {"make processor --fru-text 123456789012345678901 -o new",
     "--fru-text: expected at most 20 printable ASCII characters, found "
     "\"123456789012345678901\""},
    {"make other --section-type 1234 -o new",
     "--section-type: expected a GUID like D995E954-BBC1-430F-AD91-B44DCB3C6F35, "
     "found \"1234\""},
    {"make processor -o nosuch/new",
     "nosuch/new: expected a file that can be written: No such file or directory"},
    {"make processor -o /dev/full",
     "/dev/full: expected a file that can be written: No space left on device"},
};

TEST_F (BadInput, GivesCodeTwoAndOneLineAndDoesNothing)
{
  ExpectRefused (BadLines);
  EXPECT_FALSE (std::filesystem::exists ("new"));
}

TEST_F (BadInput, IncludesAnOutputThatCannotBeWritten)
{
  for (const char *Option : {"--help", "report"}) {
    std::ostringstream Err;
    std::ofstream Full ("/dev/full");
    Console Console = {.Out = Full, .Err = Err};
    const char *Arguments[] = {"qsmsim", Option, "good.cper"};
    EXPECT_EQ (QsmsimMain (3, Arguments, Console), 2);
    EXPECT_EQ (Err.str (), "qsmsim: standard output: expected to be writable\n");
  }
}

TEST_F (BadInput, IsNotAskedForWithHelp)
{
  for (const char *Command :
       {"", "report ", "decode ", "make ", "make memory ", "make pcie ", "make processor ",
        "make other ", "show ", "show inventory ", "show stores ", "show hobs ", "show log ",
        "show topology ", "show pointers ", "show upi "}) {
    SCOPED_TRACE (Command);
    const ToolResult Result = Run (std::string (Command) + "--help");
    EXPECT_EQ (Result.ExitCode, 0);
    EXPECT_NE (Result.Out.find ("Usage: qsmsim " + std::string (Command) + "["), std::string::npos)
        << Result.Out;
    EXPECT_EQ (Result.Err, "");
    std::istringstream Lines (Result.Out);
    for (std::string Line; std::getline (Lines, Line);) {
      EXPECT_LE (Line.size (), 80U) << Line;
    }
  }
}

} // namespace
