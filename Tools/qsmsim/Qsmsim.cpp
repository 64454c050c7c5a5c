#include "Qsmsim.h"

#include <algorithm>

#include "Commands.h"
#include "InputFile.h"

namespace {

constexpr const char *Description =
    "What does the BMC get for this error record on that platform? Runs the driver "
    "VelmoraQsmErrorHandler on a simulated platform.";

/// Complains of whatever is wrong in one line.
int
Complain (Console &Console, std::string Text)
{
  std::ranges::replace (Text, '\n', ' ');
  Console.Err << "qsmsim: " << Text << std::endl;
  return EXIT_INPUT;
}

int
Run (int ArgumentCount, const char *const *Arguments, Console &Console)
{
  CLI::App App (Description, "qsmsim");
  int ExitCode = EXIT_DONE;
  App.require_subcommand (1);
  AddReportCommand (App, Console, ExitCode);
  AddMakeCommand (App);
  AddShowCommand (App, Console);
  try {
    App.parse (ArgumentCount, Arguments);
    return ExitCode;
  } catch (const CLI::CallForHelp &) {
    Console.Out << App.help ();
    return EXIT_DONE;
  } catch (const CLI::ParseError &Error) {
    // A misspelt name explains a missing one, and not the other way round.
    const std::vector<std::string> Unknown = App.remaining (true);
    return Complain (Console, (Unknown.empty () ? Error.what ()
                                                : "There is no \"" + Unknown.front () + "\" here") +
                                  std::string (" (see --help)"));
  } catch (const InputError &Error) {
    return Complain (Console, Error.what ());
  }
}

} // namespace

int
QsmsimMain (int ArgumentCount, const char *const *Arguments, Console &Console)
{
  const int ExitCode = Run (ArgumentCount, Arguments, Console);
  Console.Out.flush ();
  if (!Console.Out) {
    return Complain (Console, "standard output: expected to be writable");
  }
  return ExitCode;
}
