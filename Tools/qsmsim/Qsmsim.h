/// The tool as a function.
#pragma once

#include "Console.h"

/// Runs one command line and returns the exit code: 0 done, 1 the run found a fault, 2 usage or bad
/// input, told by one line on Console.Err. Output that cannot be written is code 2, too.
int QsmsimMain (int ArgumentCount, const char *const *Arguments, Console &Console);
