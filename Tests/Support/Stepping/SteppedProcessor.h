/// Runs assembly of the image on this processor, one instruction at a time.
///
/// The trap flag stops the processor ahead of each instruction. Those that a process may not
/// execute, and those whose answer a test wants to choose, are played in place; the rest runs for
/// real. So a test sees the very bytes of the image do privileged work.
#pragma once

#include <csignal>
#include <initializer_list>

#include "InstructionPlayer.h"

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

/// What has been seen of one stretch of code. Begin and End are set by who watches it.
struct CodeWatch {
  UINTN Begin = 0; ///< Address of the first byte.
  UINTN End = 0;   ///< Address behind the last byte.
  UINTN Instructions = 0;
  UINTN EntryStackPointer = 0;  ///< Ahead of the first instruction.
  UINTN LowestStackPointer = 0; ///< Ahead of any of them.

  /// Bytes of stack that it took, the return address of its call included.
  [[nodiscard]] UINTN
  StackDepth () const
  {
    return EntryStackPointer - LowestStackPointer + sizeof (UINTN);
  }
};

/// There may be one at a time, since it takes the traps of the process. It is its own machine,
/// which gives the answers that a test has chosen.
class SteppedProcessor : private HostMachine, public InstructionPlayer {
public:
  SteppedProcessor ();
  ~SteppedProcessor () override;
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
  CpuidRegisters CpuidAnswer;

  CodeWatch Watch;

  /// Plays nothing, and lets what the watched code calls run at full speed: for long runs of code
  /// whose traps somebody else handles.
  bool OnlyWatches = false;

  /// For the trap: whether the code at an address is watched.
  [[nodiscard]] bool IsWatched (UINTN Address) const;

  /// For the trap: notes an instruction of the watched code.
  void Count (UINTN StackPointer);

private:
  CpuidRegisters
  Cpuid (UINT32, UINT32) override
  {
    return CpuidAnswer;
  }

  UINT64
  ReadMsr (UINT32) override
  {
    return Answer;
  }

  UINT64
  ReadTsc () override
  {
    return Answer;
  }

  UINT8
  IoRead8 (UINT16) override
  {
    return static_cast<UINT8> (Answer);
  }

  void
  IoWrite8 (UINT16, UINT8) override
  {
  }

  void
  Pause () override
  {
  }

  void
  Breakpoint () override
  {
  }

  struct sigaction PreviousAction = {};
};
