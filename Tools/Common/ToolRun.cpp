#include "ToolRun.h"

#include <algorithm>
#include <csignal>
#include <iostream>

#include <CLI/CLI.hpp>
#include <unistd.h>

#include "InputFile.h"

namespace {

int
Parse (CLI::App &App,
       int ArgumentCount,
       const char *const *Arguments,
       Console &Console,
       const int &ExitCode)
{
  try {
    App.parse (ArgumentCount, Arguments);
    return ExitCode;
  } catch (const CLI::CallForHelp &) {
    Console.Out << App.help ();
    return EXIT_DONE;
  } catch (const CLI::CallForVersion &) {
    Console.Out << App.version () << '\n';
    return EXIT_DONE;
  } catch (const CLI::ParseError &Error) {
    // A misspelt name explains a missing one, and not the other way round.
    const std::vector<std::string> Unknown = App.remaining (true);
    return Complain (
        Console, App.get_name (),
        (Unknown.empty () ? Error.what () : "There is no \"" + Unknown.front () + "\" here") +
            std::string (" (see --help)"));
  } catch (const InputError &Error) {
    return Complain (Console, App.get_name (), Error.what ());
  }
}

} // namespace

Console
ProcessConsole ()
{
  std::signal (SIGPIPE, SIG_IGN);
  std::ios::sync_with_stdio (false);
  return {.Out = std::cout,
          .Err = std::cerr,
          .OutIsTerminal = isatty (STDOUT_FILENO) != 0,
          .ErrIsTerminal = isatty (STDERR_FILENO) != 0};
}

int
Complain (Console &Console, const std::string &Tool, std::string Text)
{
  std::ranges::replace (Text, '\n', ' ');
  Console.Err << Tool << ": " << Text << std::endl;
  return EXIT_INPUT;
}

int
RunTool (CLI::App &App,
         int ArgumentCount,
         const char *const *Arguments,
         Console &Console,
         const int &ExitCode)
{
  App.set_version_flag ("--version", App.get_name () + " " + QSM_VERSION,
                        "Print the version and exit");
  const int Result = Parse (App, ArgumentCount, Arguments, Console, ExitCode);
  Console.Out.flush ();
  if (!Console.Out) {
    return Complain (Console, App.get_name (), "standard output: expected to be writable");
  }
  return Result;
}
