/// Sessions: a line "$ COMMAND" is given to the shell and "qsmsim ARGUMENTS" to the tool, and what
/// they say stands behind it.

#include "QsmsimTest.h"

#include <nlohmann/json.hpp>

namespace {

class Input : public QsmsimTest {
public:
  Input ()
  {
    Make ("memory --socket 1 --channel 2 --dimm 0 --fru-text DIMM -o one.cper");
    Make ("pcie --bus 0x98 --device 0 --function 1 --severity fatal -o two.cper");
    Make ("memory --socket 0 --channel 0 --dimm 9 -o dropped.cper");
  }

  /// What is said of the file "in": a line for each complaint, and for each record its place, its
  /// form and the device of its event.
  std::string
  Answers ()
  {
    const ToolResult Result = Run ("report --quiet --json-lines in");
    std::string Text = Result.Err;
    std::istringstream Lines (Result.Out);
    for (std::string Line; std::getline (Lines, Line);) {
      const auto Record = nlohmann::json::parse (Line);
      if (!Record.contains ("summary")) {
        const auto &Events = Record["events"];
        Text += Record["file"].get<std::string> () + " | " +
                (Record["readAs"].is_null () ? "-" : Record["readAs"].get<std::string> ()) + " | " +
                (Events.empty () ? "-" : Events[0]["id"].get<std::string> ()) + "\n";
      }
    }
    return Text;
  }

  template <typename Callable>
  void
  PlaySession (const char *Session, Callable &&AfterShell)
  {
    const std::filesystem::path File = std::filesystem::path (QSM_EXPECTED_TEXTS) / Session;
    std::istringstream Lines (Read (File));
    std::string Played;
    for (std::string Line; std::getline (Lines, Line);) {
      if (Line.starts_with ("$ ")) {
        ASSERT_EQ (std::system (Line.substr (2).c_str ()), 0) << Line;
        Played += Line + "\n" + AfterShell ();
      } else if (Line.starts_with ("qsmsim ")) {
        const ToolResult Result = Run (Line.substr (7));
        Played += Line + "\n" + Result.Err + Result.Out + "code " +
                  std::to_string (Result.ExitCode) + "\n";
      }
    }
    ExpectText (File, Played);
  }
};

TEST_F (Input, IsRecognisedInEveryForm)
{
  PlaySession ("input-forms.txt", [this] { return Answers (); });
}

TEST_F (Input, IsReportedAsFarAsItIsRecords)
{
  PlaySession ("input-session.txt", [] { return ""; });
}

} // namespace
