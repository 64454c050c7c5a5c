/// The tool as a function.
#pragma once

#include "Console.h"

/// Runs one command line and returns the exit code, as RunTool does: 1 for a run that went wrong,
/// and for an error of which the BMC did not hear.
int QsmmachineMain (int ArgumentCount, const char *const *Arguments, Console &Console);
