/// What a machine was doing when a run went wrong.
#pragma once

#include "CodeMap.h"
#include "MachineOptions.h"

/// A module that the machine has loaded, as its line in the debug log has it.
struct LoadedModule {
  UINT64 Number = 0;
  UINT64 Base = 0;
  std::string Name;
};

/// In the order of the log; a driver stands in it once for each time that it was loaded.
std::vector<LoadedModule> LoadedModules (const std::string &DebugLog);

/// The code of a run, as far as it is known: that of the ROM, and of the drivers that the debug log
/// names. The maps are looked for beside the files of the options.
CodeMap MachineCode (const MachineOptions &Options, const std::string &DebugLog);

/// A line for each processor of what QEMU's "info registers -a" prints: where it is, whether in
/// SMM, and whether it halts.
std::string ProcessorLines (const std::string &Registers, const CodeMap &Code);

/// What it means that the machine has written that number to the exit port, and QEMU's exit code is
/// twice that and one.
std::string EndText (int Number);

/// The last line of a log as the end of a sentence: "; the last line is \"...\"", or nothing.
std::string LastLineText (const std::string &Log);

/// Where the exception was that has ended the machine; "none any more" if it was not one.
std::string ExceptionLine (const std::string &DebugLog, const CodeMap &Code);
