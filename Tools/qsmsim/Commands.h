/// The commands of the tool. Each adds itself to the command line; it runs when the line is parsed,
/// and sets the exit code if that is not 0. Bad input is thrown as InputError.
#pragma once

#include <CLI/CLI.hpp>

#include "Console.h"

inline constexpr int EXIT_DONE = 0;
inline constexpr int EXIT_FAULT = 1; ///< The run found a fault.
inline constexpr int EXIT_INPUT = 2; ///< Usage or bad input; also output that cannot be written.

/// Help of --platform.
inline constexpr const char *PLATFORM_HELP =
    "Description of the platform, as docs/platform.md has it; a two-socket server unless given";

void AddMakeCommand (CLI::App &App);
void AddReportCommand (CLI::App &App, Console &Console, int &ExitCode);
void AddShowCommand (CLI::App &App, Console &Console);
