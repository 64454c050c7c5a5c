/// Processor and text primitives that the driver brings along for want of a runtime library.
#pragma once

#include "Base.h"
#include "X64/JumpBufferOffsets.h"

/// Callee-saved state of the Microsoft x64 convention, as SetJump leaves it and LongJump takes it.
struct alignas (8) [[gnu::packed]] JumpBuffer {
  UINT64 Rbx;
  /// Stack pointer of the caller of SetJump, the return address already removed.
  UINT64 Rsp;
  UINT64 Rbp;
  UINT64 Rdi;
  UINT64 Rsi;
  UINT64 R12;
  UINT64 R13;
  UINT64 R14;
  UINT64 R15;
  /// Return address of the call of SetJump.
  UINT64 Rip;
  UINT32 MxCsr;
  UINT8 Xmm6[16];
  UINT8 Xmm7[16];
  UINT8 Xmm8[16];
  UINT8 Xmm9[16];
  UINT8 Xmm10[16];
  UINT8 Xmm11[16];
  UINT8 Xmm12[16];
  UINT8 Xmm13[16];
  UINT8 Xmm14[16];
  UINT8 Xmm15[16];
  UINT8 Reserved[4];
  /// Shadow stack pointer, or 0 where shadow stacks are not in use.
  UINT64 Ssp;
};
LAYOUT_OFFSET (JumpBuffer, Rbx, JUMP_BUFFER_RBX);
LAYOUT_OFFSET (JumpBuffer, Rsp, JUMP_BUFFER_RSP);
LAYOUT_OFFSET (JumpBuffer, Rbp, JUMP_BUFFER_RBP);
LAYOUT_OFFSET (JumpBuffer, Rdi, JUMP_BUFFER_RDI);
LAYOUT_OFFSET (JumpBuffer, Rsi, JUMP_BUFFER_RSI);
LAYOUT_OFFSET (JumpBuffer, R12, JUMP_BUFFER_R12);
LAYOUT_OFFSET (JumpBuffer, R13, JUMP_BUFFER_R13);
LAYOUT_OFFSET (JumpBuffer, R14, JUMP_BUFFER_R14);
LAYOUT_OFFSET (JumpBuffer, R15, JUMP_BUFFER_R15);
LAYOUT_OFFSET (JumpBuffer, Rip, JUMP_BUFFER_RIP);
LAYOUT_OFFSET (JumpBuffer, MxCsr, JUMP_BUFFER_MXCSR);
LAYOUT_OFFSET (JumpBuffer, Xmm6, JUMP_BUFFER_XMM (6));
LAYOUT_OFFSET (JumpBuffer, Xmm7, JUMP_BUFFER_XMM (7));
LAYOUT_OFFSET (JumpBuffer, Xmm8, JUMP_BUFFER_XMM (8));
LAYOUT_OFFSET (JumpBuffer, Xmm9, JUMP_BUFFER_XMM (9));
LAYOUT_OFFSET (JumpBuffer, Xmm10, JUMP_BUFFER_XMM (10));
LAYOUT_OFFSET (JumpBuffer, Xmm11, JUMP_BUFFER_XMM (11));
LAYOUT_OFFSET (JumpBuffer, Xmm12, JUMP_BUFFER_XMM (12));
LAYOUT_OFFSET (JumpBuffer, Xmm13, JUMP_BUFFER_XMM (13));
LAYOUT_OFFSET (JumpBuffer, Xmm14, JUMP_BUFFER_XMM (14));
LAYOUT_OFFSET (JumpBuffer, Xmm15, JUMP_BUFFER_XMM (15));
LAYOUT_OFFSET (JumpBuffer, Ssp, JUMP_BUFFER_SSP);
LAYOUT_SIZE (JumpBuffer, 0x100);

extern "C" {

/// The loop in which a failed assertion ends: executes CpuPause until something outside the
/// program, such as a debugger, changes its local variable.
VOID EFIAPI CpuDeadLoop ();

/// Saves the caller's callee-saved state in the caller's Buffer. Returns 0 when called, and a
/// second time, with the Value of LongJump, when control comes back through the buffer. Asserts
/// that Buffer is neither null nor off an 8-byte boundary; where that passes over a null, nothing
/// is saved.
[[gnu::returns_twice]] UINTN EFIAPI SetJump (JumpBuffer *Buffer);

/// Returns to the SetJump that filled Buffer, whose caller's frame must be alive, across at most
/// 255 shadow stack entries. Asserts as SetJump does, and that Value, which SetJump returns, is not
/// 0. Where that passes over a null buffer there is nowhere to go, and the processor stops. Never
/// returns; it is not declared so, to keep what its callers assert behind the call.
VOID EFIAPI LongJump (JumpBuffer *Buffer, UINTN Value);

/// Number of bytes ahead of the NUL. Asserts that String is not null and, at each byte beyond
/// PcdMaximumAsciiStringLength, that there are no more; it counts on where that returns.
UINTN EFIAPI AsciiStrLen (const CHAR8 *String);

/// Number of bytes up to and including the NUL; otherwise as AsciiStrLen.
UINTN EFIAPI AsciiStrSize (const CHAR8 *String);

/// Number of characters ahead of the NUL, or MaxSize if none of the first MaxSize characters is the
/// NUL; no more are read. 0 for a null String. Asserts that String is 2-byte aligned.
UINTN EFIAPI StrnLenS (const CHAR16 *String, UINTN MaxSize);

/// The same for 8-bit characters, without an assertion.
UINTN EFIAPI AsciiStrnLenS (const CHAR8 *String, UINTN MaxSize);

/// Reads at any alignment. Asserts that Buffer is not null.
UINT16 EFIAPI ReadUnaligned16 (const UINT16 *Buffer);
UINT64 EFIAPI ReadUnaligned64 (const UINT64 *Buffer);

/// Writes Value at any alignment and returns it. Asserts that Buffer is not null.
UINT64 EFIAPI WriteUnaligned64 (UINT64 *Buffer, UINT64 Value);
}
