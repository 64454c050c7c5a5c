/// Exceptions and interrupts, in both images: the interrupt table and what a handler is given.
#pragma once

#include "Base.h"

/// Vectors that have an entry: the exceptions, and as many interrupts.
inline constexpr UINTN VectorCount = 64;

inline constexpr UINT8 VectorMachineCheck = 18;

/// The interrupted context as ExceptionEntry.S leaves it on the stack, lowest address first.
struct ExceptionFrame {
  UINT64 R15, R14, R13, R12, R11, R10, R9, R8;
  UINT64 Rbp, Rdi, Rsi, Rdx, Rcx, Rbx, Rax;
  UINT64 Vector;
  UINT64 ErrorCode; ///< 0 where the processor pushes none.
  UINT64 Rip, Cs, Rflags, Rsp, Ss;
};
LAYOUT_OFFSET (ExceptionFrame, Vector, 0x78);
LAYOUT_SIZE (ExceptionFrame, 0xB0);

struct InterruptGate {
  UINT16 OffsetLow;
  UINT16 Selector;
  UINT8 Stack; ///< Number of the stack in the task state segment; 0 stays on the present one.
  UINT8 Type;
  UINT16 OffsetMiddle;
  UINT32 OffsetHigh;
  UINT32 Reserved;
};
LAYOUT_SIZE (InterruptGate, 16);

extern "C" {

extern InterruptGate gInterruptTable[VectorCount];

/// Fills the table; all gates use the stack of that number.
VOID FillInterruptTable (UINT8 Stack);

/// Makes the table that of this processor, and lets machine checks come by it. Until then they
/// reset the machine.
VOID UseInterruptTable ();

/// Each image has its own: handles an exception or interrupt, and returns to go on with the
/// context in *Frame, which it may change.
VOID HandleException (ExceptionFrame *Frame);

/// Reports an exception that nobody expects and ends the run. Where names the image.
[[noreturn]] VOID EndByException (const ExceptionFrame *Frame, const CHAR8 *Where, UINTN Processor);
}
