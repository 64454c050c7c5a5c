/// How a tool runs its command line and how it ends.
#pragma once

#include "Console.h"

namespace CLI {
class App;
}

inline constexpr int EXIT_DONE = 0;
inline constexpr int EXIT_FAULT = 1; ///< The run found a fault.
inline constexpr int EXIT_INPUT = 2; ///< Usage or bad input; also output that cannot be written.

/// Of a tool whose reader has gone: what a shell reports of one that SIGPIPE has ended.
inline constexpr int EXIT_PIPE = 128 + 13;

/// The process's own streams. A closed pipe shows as a failed write from here on.
Console ProcessConsole ();

/// Complains on standard error of whatever is wrong: one line that begins with the tool's name.
/// Returns EXIT_INPUT.
int Complain (Console &Console, const std::string &Tool, std::string_view Text);

/// Parses the command line, by which the callbacks of App run, and returns ExitCode as they leave
/// it. App and its commands get the options --version and --color. Bad usage, an InputError of a
/// callback and output that cannot be written are complained of; nobody is there to read a
/// complaint of a closed pipe.
int RunTool (CLI::App &App,
             int ArgumentCount,
             const char *const *Arguments,
             Console &Console,
             const int &ExitCode);
