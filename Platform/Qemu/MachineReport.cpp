#include "MachineReport.h"

#include <cstdio>
#include <sstream>

#include <fmt/format.h>

#include "MachineLog.h"

std::vector<LoadedModule>
LoadedModules (const std::string &DebugLog)
{
  std::vector<LoadedModule> Modules;
  std::istringstream Lines (DebugLog);
  for (std::string Line; std::getline (Lines, Line);) {
    LoadedModule Module;
    int Title = 0;
    if (std::sscanf (Line.c_str (), "smm: module %llu at %llx, %*u bytes: %n", &Module.Number,
                     &Module.Base, &Title) == 2 &&
        Title != 0) {
      Module.Name = Line.substr (static_cast<std::size_t> (Title));
      Modules.push_back (Module);
    }
  }
  return Modules;
}

CodeMap
MachineCode (const MachineOptions &Options, const std::string &DebugLog)
{
  CodeMap Code;
  for (const char *Image : {"MachineBoot", "MachineSmm"}) {
    Code.Add (Options.Rom.parent_path () / fmt::format ("{}.map", Image), Image, 0);
  }
  for (const LoadedModule &Module : LoadedModules (DebugLog)) {
    Code.Add (Options.Modules.front ().parent_path () / (Module.Name + ".map"),
              fmt::format ("module {}, {}", Module.Number, Module.Name), Module.Base);
  }
  return Code;
}

std::string
ProcessorLines (const std::string &Registers, const CodeMap &Code)
{
  std::string Text;
  std::string Number;
  std::string Pointers; // The line that begins with RIP or, of a processor in 32 bits, EIP.
  std::istringstream Lines (Registers);
  for (std::string Line; std::getline (Lines, Line);) {
    const auto Has = [&Pointers] (const char *Part) {
      return Pointers.find (Part) != std::string::npos;
    };
    UINT64 SegmentBase = 0;
    if (Line.starts_with ("CPU#")) {
      Number = Line.substr (4, Line.find_first_not_of ("0123456789", 4) - 4);
    } else if (Line.starts_with ("RIP=") || Line.starts_with ("EIP=")) {
      Pointers = Line;
    } else if (std::sscanf (Line.c_str (), "CS =%*x %llx", &SegmentBase) == 1 &&
               !Pointers.empty ()) {
      const UINT64 Address = SegmentBase + std::stoull (Pointers.substr (4), nullptr, 16);
      Text += fmt::format ("processor {}: RIP 0x{:X}, {}{}, {}\n", Number, Address,
                           Has (" SMM=1") ? "in SMM" : "outside SMM",
                           Has (" HLT=1") ? ", halts" : "", Code.NameOf (Address));
    }
  }
  return Text;
}

std::string
ExceptionLine (const std::string &DebugLog, const CodeMap &Code)
{
  // The last line, as the ROM writes it.
  const std::size_t Start = DebugLog.rfind ("processor ");
  unsigned Processor = 0;
  UINT64 Address = 0;
  if (Start == std::string::npos ||
      std::sscanf (DebugLog.c_str () + Start,
                   "processor %u: exception %*u, error code %*x, RIP %llx", &Processor,
                   &Address) != 2) {
    return "none any more\n";
  }
  return fmt::format ("processor {}: RIP 0x{:X}, {}\n", Processor, Address, Code.NameOf (Address));
}

std::string
EndText (int Number)
{
  switch (Number) {
  case 0:
    return "QEMU itself failed";
  case EndSettings:
    return "a setting, the inventory, the volume or a module is not as it has to be";
  case EndException:
    return "an exception";
  case EndFault:
    return "the driver broke a rule of the platform";
  case EndMachine:
    return "the hardware is not as the boot code needs it";
  case EndAssertion:
    return "the driver asserted";
  default:
    return fmt::format ("exit {} on the control channel", Number);
  }
}

std::string
LastLineText (const std::string &Log)
{
  constexpr const char *LINE_END = "\r\n";
  const std::size_t Last = Log.find_last_not_of (LINE_END);
  if (Last == std::string::npos) {
    return "";
  }
  const std::size_t Start = Log.find_last_of (LINE_END, Last) + 1; // 0 behind npos.
  return fmt::format ("; the last line is \"{}\"", Log.substr (Start, Last - Start + 1));
}
