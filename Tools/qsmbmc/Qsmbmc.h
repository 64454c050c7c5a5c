/// The tool as a function.
#pragma once

#include "Console.h"

/// Runs one command line and returns the exit code, as RunTool does. Serves until the process gets
/// SIGINT or SIGTERM.
int QsmbmcMain (int ArgumentCount, const char *const *Arguments, Console &Console);
