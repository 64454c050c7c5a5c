#include "Debugging.h"

#include <fmt/format.h>

#include "EmulatedMachine.h"
#include "Interruption.h"
#include "MachineError.h"
#include "MachineReport.h"
#include "ProductFile.h"
#include "TemporaryDirectory.h"

namespace {

/// The file with the symbols of File: "NAME.debug.EXTENSION" beside it.
std::filesystem::path
SymbolsOf (std::filesystem::path File, const char *Extension)
{
  return std::filesystem::absolute (File.replace_extension (Extension));
}

/// The debug log of a boot that nobody stops.
std::string
BootLog (MachineOptions Options)
{
  const TemporaryDirectory Directory;
  Options.Directory = Directory.Path ();
  Options.Bmc = BmcConnection::None;
  Options.GdbServer.clear ();
  Options.IsStopped = false;
  Options.Patience = MachineOptions ().Patience;
  EmulatedMachine Machine (Options);
  try {
    Machine.WaitUntilReady ();
  } catch (const MachineError &) {
    // A driver that does not start is one to debug, and the log has its place already.
    Interruption::Check ();
  }
  return Machine.DebugLog ();
}

/// The lines that add the symbols of each driver, or nothing if there are none.
std::string
DriverSymbols (const MachineOptions &Options)
{
  const auto File = Options.Modules.empty () ? std::filesystem::path ()
                                             : SymbolsOf (Options.Modules.front (), ".debug.efi");
  std::string Lines;
  if (std::filesystem::exists (File)) {
    for (const LoadedModule &Module : LoadedModules (BootLog (Options))) {
      if (Module.Name == "VelmoraQsmErrorHandler") {
        Lines += fmt::format ("  add-symbol-file {} -o 0x{:X}\n", File.string (), Module.Base);
      }
    }
  }
  return Lines;
}

} // namespace

std::string
DebuggerLines (const MachineOptions &Options)
{
  std::string Lines = IsInstalled () ? "" : fmt::format ("  directory {}\n", QSM_SOURCES);
  if (const auto File = SymbolsOf (Options.Rom, ".debug.elf"); std::filesystem::exists (File)) {
    Lines += fmt::format ("  add-symbol-file {}\n", File.string ());
  }
  const std::string Driver = DriverSymbols (Options);
  return fmt::format ("{}{}  target remote {}\n{}  continue\n", Lines, Driver,
                      Options.GdbServer.substr (Options.GdbServer.find (':') + 1),
                      Driver.empty () ? "" : "  hbreak SendRedfishEvent\n");
}
