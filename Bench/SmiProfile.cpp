/// Where the instructions of one error's SMI go on the emulated machine, by function, quiet and
/// with the log, with the BMC that is the emulator's own.
///
///     SmiProfile ROM MODULE...
#include <fstream>
#include <iostream>
#include <map>

#include <fmt/format.h>

#include "MachineReport.h"
#include "SmiCauses.h"
#include "TemporaryDirectory.h"

namespace {

/// The bit of a processor's flags in the emulator's trace that says it is in SMM.
constexpr unsigned FlagSmm = 1U << 19;

/// An instruction of the first processor, as the emulator traces it.
struct TracedInstruction {
  UINT64 Address;
  bool IsInSmm;
};

bool
ReadInstruction (const std::string &Line, TracedInstruction &Instruction)
{
  unsigned Flags = 0;
  if (std::sscanf (Line.c_str (), "Trace 0: 0x%*x [%*x/%llx/%x/", &Instruction.Address, &Flags) !=
      2) {
    return false;
  }
  Instruction.IsInSmm = (Flags & FlagSmm) != 0;
  return true;
}

using Profile = std::map<std::string, UINTN>;

/// By function, the instructions of the SMI in which the driver's listener was called.
Profile
ProfileOf (const std::filesystem::path &Trace, const CodeMap &Code)
{
  Profile Functions;
  bool WasInSmm = false;
  std::ifstream Lines (Trace);
  for (std::string Line; std::getline (Lines, Line);) {
    TracedInstruction Instruction;
    if (!ReadInstruction (Line, Instruction)) {
      continue;
    }
    if (!Instruction.IsInSmm && WasInSmm && Functions.contains ("driver QsmLogErrorWrapper")) {
      return Functions;
    }
    if (Instruction.IsInSmm && !WasInSmm) {
      Functions.clear ();
    }
    WasInSmm = Instruction.IsInSmm;
    if (WasInSmm) {
      const std::string Place = Code.NameOf (Instruction.Address);
      const std::size_t Name = Place.find (": ");
      // No map has the code by which a processor enters.
      ++Functions[Name == std::string::npos
                      ? "firmware SmmEntry"
                      : (Place.starts_with ("module") ? "driver " : "firmware ") +
                            Place.substr (Name + 2, Place.rfind ('+') - Name - 2)];
    }
  }
  return Functions;
}

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
                              .CountsInstructions = true,
                              .Extra = {"-singlestep", "-d", "nochain"}};
    Options.Inventory = MachineInventory (Options);
    Options.Modules.assign (Arguments + 2, Arguments + ArgumentCount);
    EmulatedMachine Machine (Options);
    Machine.WaitUntilReady ();
    const CodeMap Code = MachineCode (Options, Machine.DebugLog ());
    for (const SmiCause &Of : std::span (SmiCauses).subspan (1)) {
      const std::filesystem::path Trace = Directory.Path () / Of.Name;
      Machine.ExecuteHuman ("logfile " + Trace.string ());
      Machine.ExecuteHuman ("log exec,nochain");
      Of.Raise (Machine);
      (void)Machine.State (); // Waits for the SMI.
      Machine.ExecuteHuman ("log none");
      for (const auto &[Function, Instructions] : ProfileOf (Trace, Code)) {
        std::cout << fmt::format ("{} {} {} {}\n", IsQuiet ? "bmc_quiet" : "bmc_log", Of.Name,
                                  Instructions, Function);
      }
    }
  }
  return 0;
}
