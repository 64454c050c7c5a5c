#include "SmiTrace.h"

#include <fstream>

namespace {

/// The bit of a processor's flags in the emulator's trace that says it is in SMM.
constexpr unsigned FlagSmm = 1U << 19;

/// An instruction, as the emulator traces it.
struct TracedInstruction {
  unsigned Processor;
  UINT64 Address;
  unsigned Flags;
};

bool
ReadInstruction (const std::string &Line, TracedInstruction &Instruction)
{
  return std::sscanf (Line.c_str (), "Trace %u: 0x%*x [%*x/%llx/%x/", &Instruction.Processor,
                      &Instruction.Address, &Instruction.Flags) == 3;
}

std::string
FunctionOf (const CodeMap &Code, UINT64 Address)
{
  const std::string Place = Code.NameOf (Address);
  const std::size_t Name = Place.find (": ");
  if (Name == std::string::npos) {
    return "firmware SmmEntry"; // No map has the code by which a processor enters.
  }
  return (Place.starts_with ("module") ? "driver " : "firmware ") +
         Place.substr (Name + 2, Place.rfind ('+') - Name - 2);
}

/// One processor in the trace.
struct TracedProcessor {
  bool IsInSmm = false;
  SmiProfile Smi;      ///< The present one, or the last.
  SmiProfile Reported; ///< That of the driver's.
};

} // namespace

std::map<unsigned, SmiProfile>
TraceSmi (EmulatedMachine &Machine,
          const CodeMap &Code,
          const std::filesystem::path &File,
          void (*Raise) (EmulatedMachine &Machine))
{
  Machine.ExecuteHuman ("logfile " + File.string ());
  Machine.ExecuteHuman ("log exec,nochain");
  Machine.ExecuteHuman ("singlestep on");
  Raise (Machine);
  (void)Machine.State (); // Waits for the SMI.
  Machine.ExecuteHuman ("singlestep off");
  Machine.ExecuteHuman ("log none");

  std::map<unsigned, TracedProcessor> Processors;
  std::ifstream Lines (File);
  for (std::string Line; std::getline (Lines, Line);) {
    TracedInstruction Instruction;
    if (!ReadInstruction (Line, Instruction)) {
      continue;
    }
    TracedProcessor &Of = Processors[Instruction.Processor];
    const bool IsInSmm = (Instruction.Flags & FlagSmm) != 0;
    if (Of.IsInSmm && !IsInSmm && Of.Smi.contains ("driver QsmLogErrorWrapper")) {
      Of.Reported = Of.Smi;
    }
    if (IsInSmm && !Of.IsInSmm) {
      Of.Smi.clear ();
    }
    Of.IsInSmm = IsInSmm;
    if (IsInSmm) {
      ++Of.Smi[FunctionOf (Code, Instruction.Address)];
    }
  }

  std::map<unsigned, SmiProfile> Reported;
  for (const auto &[Number, Of] : Processors) {
    if (!Of.Reported.empty ()) {
      Reported[Number] = Of.Reported;
    }
  }
  return Reported;
}
