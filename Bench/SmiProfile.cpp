/// Where the instructions of one error's SMI go on the emulated machine, by function, quiet and
/// with the log, with the BMC that is the emulator's own.
///
///     SmiProfile ROM MODULE...
#include <iostream>

#include <fmt/format.h>

#include "SmiCauses.h"
#include "SmiTrace.h"
#include "TemporaryDirectory.h"

namespace {

/// The emulator traces an instruction twice if it is interrupted ahead of it.
constexpr UINTN Rounds = 3;

} // namespace

int
main (int ArgumentCount, char **Arguments)
{
  if (ArgumentCount < 3) {
    std::cerr << "usage: SmiProfile ROM MODULE...\n";
    return 2;
  }
  std::cout << "equipment cause instructions side function\n";
  for (const bool IsQuiet : {true, false}) {
    const TemporaryDirectory Directory;
    MachineOptions Options = {.Directory = Directory.Path (),
                              .Rom = Arguments[1],
                              .IsQuiet = IsQuiet,
                              .Bmc = BmcConnection::Simulated,
                              .CountsInstructions = true};
    Options.Inventory = MachineInventory (Options);
    Options.Modules.assign (Arguments + 2, Arguments + ArgumentCount);
    EmulatedMachine Machine (Options);
    Machine.WaitUntilReady ();
    const CodeMap Code = MachineCode (Options, Machine.DebugLog ());
    for (const SmiCause &Of : std::span (SmiCauses).subspan (1)) {
      const std::filesystem::path File = Directory.Path () / Of.Name;
      SmiProfile Least = TraceSmi (Machine, Code, File, Of.Raise).at (0);
      for (UINTN Round = 1; Round < Rounds; ++Round) {
        const auto Smis = TraceSmi (Machine, Code, File, Of.Raise);
        for (auto &[Function, Instructions] : Least) {
          Instructions = std::min (Instructions, Smis.at (0).at (Function));
        }
      }
      for (const auto &[Function, Instructions] : Least) {
        std::cout << fmt::format ("{} {} {} {}\n", IsQuiet ? "bmc_quiet" : "bmc_log", Of.Name,
                                  Instructions, Function);
      }
    }
  }
  return 0;
}
