/// Plays instructions that a process may not execute, and those whose answer a test wants to
/// choose, on a machine.
#pragma once

#include <functional>
#include <string>

#include <ucontext.h>

#include "HostMachine.h"

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

/// The registers of a processor that a signal has stopped.
using SignalContext = greg_t[NGREG];

enum PlayedInstruction : UINTN;

/// Allocates nothing while it plays, unless its machine does. What the machine throws passes.
class InstructionPlayer {
public:
  explicit InstructionPlayer (HostMachine &On) : Machine (On) {}

  /// What the processor has beside the operations of its machine. Without a feature on in CR4 it
  /// has no shadow stack.
  UINT64 Cr4 = 0;
  UINT64 ShadowStackPointer = 0;

  /// The host of a TDX guest: sees the registers at TDCALL and changes them. The machine is the
  /// host where none is given.
  std::function<void (GeneralRegisters &)> VmCallHost;

  /// Plays the instruction at which a processor stands, and moves it on. Returns false for one that
  /// is to run for real.
  bool Play (SignalContext &Context);

  /// The same for the loads and stores of the machine operations, at memory that is not there.
  bool PlayMemoryAccess (SignalContext &Context);

  /// The played instructions since the last call, and each MFENCE and MOVNTDQ, with their operands
  /// in hexadecimal: "mov cr4; incssp 1; ". Further ones than fit Steps are left out.
  std::string TakeTranscript ();

private:
  struct Step {
    const char *Name;
    UINTN OperandCount;
    UINT64 Operands[2];
  };

  /// Carries out an instruction; Operand is its register operand, if it has one.
  Step Perform (PlayedInstruction Instruction, GeneralRegisters &General, UINT64 &Operand);
  void CallMachineAsHost (GeneralRegisters &General);

  /// Plays the instruction at Code. Returns its length, or 0.
  UINTN PlayAt (const UINT8 *Code, GeneralRegisters &General);

  HostMachine &Machine;
  Step Steps[32];
  UINTN StepCount = 0;
};
