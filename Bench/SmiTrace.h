/// What the emulator's trace of single instructions tells of SMIs, by function.
#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "EmulatedMachine.h"
#include "MachineReport.h"

/// Instructions by "SIDE FUNCTION", of which SIDE is "driver" or "firmware".
using SmiProfile = std::map<std::string, UINTN>;

/// Raises an error and returns what the processors that served it did in their SMIs in which the
/// driver's listener was called, by the numbers of the processors. The file is for the trace.
std::map<unsigned, SmiProfile> TraceSmi (EmulatedMachine &Machine,
                                         const CodeMap &Code,
                                         const std::filesystem::path &File,
                                         void (*Raise) (EmulatedMachine &Machine));
