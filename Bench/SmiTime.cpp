/// Counts what one SMI of the emulated machine takes, from SMM entry to RSM, in which one error is
/// reported: instructions, bytes to the debug console, accesses to the ports of the BMC.
///
///     SmiTime ROM MODULE...
#include <fstream>
#include <iostream>
#include <optional>

#include <fmt/format.h>

#include "SmiCauses.h"
#include "TemporaryDirectory.h"

namespace {

/// How the machine is equipped.
struct Equipment {
  const char *Name;
  bool HasDriver;
  bool IsQuiet;
  BmcConnection Bmc; ///< The emulator's own answers at once, whatever time it is outside.
};
constexpr Equipment Equipments[] = {
    {"no_driver", false, true, BmcConnection::None},
    {"no_bmc_quiet", true, true, BmcConnection::None},
    {"bmc_quiet", true, true, BmcConnection::Simulated},
    {"no_bmc_log", true, false, BmcConnection::None},
    {"bmc_log", true, false, BmcConnection::Simulated},
};

/// Ticks of the SMI of one error on the first processor; none if that took another number of them.
std::optional<UINT64>
TicksOf (const SmiCause &Of, EmulatedMachine &Machine)
{
  const UINT64 Before = Machine.State ().Processors[0].Count;
  Of.Raise (Machine);
  const SmiTimes After = Machine.State ().Processors[0];
  // The first state's own SMI is one of them.
  return After.Count == Before + 2 ? std::optional (After.Last) : std::nullopt;
}

/// Lines of the emulator's trace that tell of an access to a device.
std::ptrdiff_t
AccessCount (const std::filesystem::path &Trace, const std::string &Device)
{
  std::ifstream Lines (Trace);
  std::ptrdiff_t Count = 0;
  for (std::string Line; std::getline (Lines, Line);) {
    Count += Line.ends_with ("name '" + Device + "'") ? 1 : 0;
  }
  return Count;
}

} // namespace

int
main (int ArgumentCount, char **Arguments)
{
  if (ArgumentCount < 3) {
    std::cerr << "usage: SmiTime ROM MODULE...\n";
    return 2;
  }
  std::cout << "equipment cause instructions log_bytes bmc_accesses\n";
  for (const Equipment &Each : Equipments) {
    const TemporaryDirectory Directory;
    MachineOptions Options = {.Directory = Directory.Path (),
                              .Rom = Arguments[1],
                              .IsQuiet = Each.IsQuiet,
                              .Bmc = Each.Bmc,
                              .CountsInstructions = true,
                              .Extra = {"-trace", "memory_region_ops_*"}};
    Options.Inventory = MachineInventory (Options);
    if (Each.HasDriver) {
      Options.Modules.assign (Arguments + 2, Arguments + ArgumentCount);
    }
    EmulatedMachine Machine (Options);
    Machine.WaitUntilReady ();
    const std::filesystem::path &Trace = Machine.ErrorFile ();
    for (const SmiCause &Of : SmiCauses) {
      std::filesystem::resize_file (Trace, 0);
      const auto Ticks = TicksOf (Of, Machine);
      if (!Ticks) {
        std::cerr << fmt::format ("SmiTime: {} took another number of SMIs than one\n", Of.Name);
        return 1;
      }
      std::cout << fmt::format ("{} {} {} {} {}\n", Each.Name, Of.Name, *Ticks,
                                AccessCount (Trace, "isa-debugcon"),
                                AccessCount (Trace, "ipmi-kcs"));
    }
  }
  return 0;
}
