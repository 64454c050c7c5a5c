/// Runs assembly of the image on this processor, one instruction at a time.
///
/// The trap flag stops the processor ahead of each instruction. Those that a process may not
/// execute, and those whose answer a test wants to choose, are played in place; the rest runs for
/// real. So a test sees the very bytes of the image do privileged work.
#pragma once

#include <csignal>
#include <functional>
#include <initializer_list>
#include <string>

#include "Base.h"

/// Numbers of the general registers in instruction encodings.
enum GeneralRegister : UINTN {
  RAX,
  RCX,
  RDX,
  RBX,
  RSP,
  RBP,
  RSI,
  RDI,
  R8,
  R9,
  R10,
  R11,
  R12,
  R13,
  R14,
  R15,
  GENERAL_REGISTER_COUNT
};

/// Indexed by GeneralRegister.
using GeneralRegisters = UINT64[GENERAL_REGISTER_COUNT];

/// The registers of a process, RSP left out. Floating point is as FXSAVE has it (Intel SDM,
/// volume 1, 10.5.1).
struct alignas (16) RegisterFile {
  /// Every register holds another pattern, which Seed changes. The first four Arguments lie in
  /// their registers of the Microsoft x64 convention, two more in StackArguments.
  explicit RegisterFile (UINT8 Seed, std::initializer_list<UINT64> Arguments = {});

  UINT8 Legacy[24];
  UINT32 MxCsr;
  UINT32 MxCsrMask;
  UINT8 X87[128];
  UINT8 Xmm[16][16];
  UINT8 Unused[96];
  GeneralRegisters General;
  UINT64 StackArguments[2];
};

/// Whether the registers that the Microsoft x64 convention preserves are the same in both.
bool HaveSamePreservedRegisters (const RegisterFile &Left, const RegisterFile &Right);

enum SteppedInstruction : UINTN;

/// What has been seen of one stretch of code. Begin and End are set by who watches it.
struct CodeWatch {
  UINTN Begin = 0; ///< Address of the first byte.
  UINTN End = 0;   ///< Address behind the last byte.
  UINTN Instructions = 0;
  UINTN EntryStackPointer = 0;  ///< Ahead of the first instruction.
  UINTN LowestStackPointer = 0; ///< Ahead of any of them.
};

/// There may be one at a time, since it takes the traps of the process.
class SteppedProcessor {
public:
  SteppedProcessor ();
  ~SteppedProcessor ();
  SteppedProcessor (const SteppedProcessor &) = delete;
  SteppedProcessor &operator= (const SteppedProcessor &) = delete;

  /// Calls the function at address Function, which has the Microsoft x64 convention, with the
  /// registers of Entry. Returns those that it leaves behind.
  ///
  /// Then, if given, is called once behind the first return, while the frame of the call is alive:
  /// a non-local jump out of it may make Function return again.
  RegisterFile Run (UINTN Function, const RegisterFile &Entry, VOID (*Then) () = nullptr);

  template <typename FunctionType>
  RegisterFile
  Run (FunctionType *Function, const RegisterFile &Entry, VOID (*Then) () = nullptr)
  {
    return Run (reinterpret_cast<UINTN> (Function), Entry, Then);
  }

  /// What RDMSR, RDTSC and IN read.
  UINT64 Answer = 0;
  /// What CPUID leaves in EAX, EBX, ECX and EDX.
  UINT32 CpuidAnswer[4] = {};
  UINT64 Cr4 = 0;
  UINT64 ShadowStackPointer = 0;
  /// The host of a TDX guest: sees the registers at TDCALL and changes them.
  std::function<void (GeneralRegisters &)> VmCallHost;

  CodeWatch Watch;

  /// Plays nothing, and lets what the watched code calls run at full speed: for long runs of code
  /// whose traps somebody else handles.
  bool OnlyWatches = false;

  /// The played instructions since the last call, and each MFENCE and MOVNTDQ, with their operands
  /// in hexadecimal: "mov cr4; incssp 1; ". Further ones than fit Steps are left out.
  std::string TakeTranscript ();

  /// For the trap: whether the code at an address is watched.
  [[nodiscard]] bool IsWatched (UINTN Address) const;

  /// For the trap: plays the instruction at Code. Returns its length, or 0 for one that is to run
  /// for real. Allocates nothing.
  UINTN Play (const UINT8 *Code, GeneralRegisters &General);

private:
  struct Step {
    const char *Name;
    UINTN OperandCount;
    UINT64 Operands[2];
  };

  /// Carries out an instruction; Operand is its register operand, if it has one.
  Step Perform (SteppedInstruction Instruction, GeneralRegisters &General, UINT64 &Operand);

  Step Steps[32];
  UINTN StepCount = 0;
  struct sigaction PreviousAction = {};
};
