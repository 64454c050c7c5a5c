/// A run that waits for a debugger.
#pragma once

#include <string>

#include "MachineOptions.h"

/// The lines to type into gdb, each indented and with its end: they load the symbols of the SMM
/// image and those of the driver wherever it will lie, stop where an event goes to the BMC and let
/// the machine go on. Boots a machine of the same options beforehand to see where the driver lies,
/// which is the same place each time. Symbols are left out whose file is not beside the ROM or the
/// driver. Throws InputError if there is no place for that machine's directory.
std::string DebuggerLines (const MachineOptions &Options);
