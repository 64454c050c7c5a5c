#include "ToolRun.h"

#include <csignal>
#include <cstdlib>
#include <iostream>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include "HelpText.h"
#include "InputFile.h"
#include "ToolOptions.h"

namespace {

static_assert (EXIT_PIPE == 128 + SIGPIPE);

enum class ColourUse {
  Auto,
  Always,
  Never
};

constexpr Named<ColourUse> ColourUses[] = {
    {"auto", ColourUse::Auto}, {"always", ColourUse::Always}, {"never", ColourUse::Never}};

/// A variable of the environment; empty if it is not set.
std::string_view
Environment (const char *Name)
{
  const char *Value = std::getenv (Name);
  return Value != nullptr ? Value : "";
}

bool
TerminalIsDumb ()
{
  return Environment ("TERM") == "dumb";
}

/// Where nothing else is asked for: NO_COLOR is that of no-color.org.
bool
UsesColoursUnasked (const Console &Console)
{
  return Console.OutIsTerminal && Environment ("NO_COLOR").empty () && !TerminalIsDumb ();
}

/// Gives the app and all of its commands what every tool has.
void
AddCommon (CLI::App &App, const std::string &Version, Console &Console)
{
  App.formatter (NarrowFormatter ());
  // A command may have a field of a record of that name.
  if (App.get_option_no_throw ("--version") == nullptr) {
    App.set_version_flag ("--version", Version, "Print the version and exit");
  }
  App.add_option_function<std::string> (
         "--color",
         [&Console] (const std::string &Text) {
           const auto Use = NamedOption<ColourUse> ("--color", Text, ColourUses);
           Console.UsesColours =
               Use == ColourUse::Auto ? UsesColoursUnasked (Console) : Use == ColourUse::Always;
         },
         "When to use colours: " + NamesText<ColourUse> (ColourUses) +
             "; auto is on a terminal, without NO_COLOR in the environment")
      ->type_name ("WHEN");
  for (CLI::App *Command : App.get_subcommands ([] (CLI::App *) { return true; })) {
    AddCommon (*Command, Version, Console);
  }
}

/// Nobody reads standard output any more.
bool
OutIsClosedPipe ()
{
  pollfd Out = {.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
  return poll (&Out, 1, 0) == 1 && (Out.revents & POLLERR) != 0;
}

std::string
UsageText (const CLI::App &App, const CLI::ParseError &Error)
{
  // A misspelt name explains a missing one, and not the other way round.
  const std::vector<std::string> Unknown = App.remaining (true);
  if (Unknown.empty ()) {
    return fmt::format ("{} (see --help)", Error.what ());
  }
  const std::string Nearest = NearestName (App, Unknown.front ());
  return fmt::format ("There is no \"{}\" here{} (see --help)", Unknown.front (),
                      Nearest.empty () ? "" : fmt::format ("; did you mean {}?", Nearest));
}

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
    return Complain (Console, App.get_name (), UsageText (App, Error));
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
          .ErrIsTerminal = isatty (STDERR_FILENO) != 0 && !TerminalIsDumb ()};
}

int
Complain (Console &Console, const std::string &Tool, std::string_view Text)
{
  Console.Err << Tool << ": " << ShownText (Text) << std::endl;
  return EXIT_INPUT;
}

int
RunTool (CLI::App &App,
         int ArgumentCount,
         const char *const *Arguments,
         Console &Console,
         const int &ExitCode)
{
  Console.UsesColours = UsesColoursUnasked (Console);
  AddCommon (App, App.get_name () + " " + QSM_VERSION, Console);
  const int Result = Parse (App, ArgumentCount, Arguments, Console, ExitCode);
  Console.Out.flush ();
  if (!Console.Out) {
    if (OutIsClosedPipe ()) {
      return EXIT_PIPE;
    }
    return Complain (Console, App.get_name (), "standard output: expected to be writable");
  }
  return Result;
}
