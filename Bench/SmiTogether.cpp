/// What the SMIs take of processors of one package that report a machine check each at the same
/// moment, quiet and without a BMC: a row for each processor and function, by their number.
///
/// The processors are threads of the emulator, so that they meet at locks; counting instructions
/// instead of time would let them run one after the other.
///
///     SmiTogether ROM MODULE...
#include <iostream>

#include <fmt/format.h>

#include "SmiTrace.h"
#include "TemporaryDirectory.h"

namespace {

constexpr UINTN Rounds = 3;

constexpr struct {
  const char *Name;
  void (*Raise) (EmulatedMachine &Machine);
} Causes[] = {
    {"processor",
     [] (EmulatedMachine &Machine) { Machine.Command ("bank all 4 9000000000000135 0 0"); }},
    {"memory",
     [] (EmulatedMachine &Machine) { Machine.Command ("bank all 4 9400000000000090 1000 0"); }},
};

} // namespace

int
main (int ArgumentCount, char **Arguments)
{
  if (ArgumentCount < 3) {
    std::cerr << "usage: SmiTogether ROM MODULE...\n";
    return 2;
  }
  std::cout << "cause processors round processor instructions side function\n";
  for (const UINTN Count : {1U, 2U, 4U, 8U, 16U}) {
    const TemporaryDirectory Directory;
    MachineOptions Options = {.Directory = Directory.Path (),
                              .Rom = Arguments[1],
                              .IsQuiet = true,
                              .ProcessorCount = Count,
                              .SocketCount = 1,
                              .Patience = std::chrono::minutes (5)};
    Options.Inventory = MachineInventory (Options);
    Options.Modules.assign (Arguments + 2, Arguments + ArgumentCount);
    EmulatedMachine Machine (Options);
    Machine.WaitUntilReady ();
    const CodeMap Code = MachineCode (Options, Machine.DebugLog ());
    for (const auto &Of : Causes) {
      for (UINTN Round = 0; Round < Rounds; ++Round) {
        const auto File = Directory.Path () / fmt::format ("{}{}", Of.Name, Round);
        const auto Smis = TraceSmi (Machine, Code, File, Of.Raise);
        if (Smis.size () != Count) {
          std::cerr << fmt::format ("SmiTogether: {} of {} processors reported\n", Smis.size (),
                                    Count);
          return 1;
        }
        for (const auto &[Processor, Smi] : Smis) {
          for (const auto &[Function, Instructions] : Smi) {
            std::cout << fmt::format ("{} {} {} {} {} {}\n", Of.Name, Count, Round, Processor,
                                      Instructions, Function);
          }
        }
        std::filesystem::remove (File);
      }
    }
  }
  return 0;
}
