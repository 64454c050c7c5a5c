#include "AssemblyFunction.inc"
#include "JumpBufferOffsets.h"

LINKED_DATA PcdControlFlowEnforcementPropertyMask

// VOID InternalLongJump (const JumpBuffer *Buffer, UINTN Value): rcx, rdx.
FUNCTION InternalLongJump
  cmpl $0, PcdControlFlowEnforcementPropertyMask(%rip)
  je 1f
  mov %cr4, %rax
  bt $CR4_CET, %eax
  jnc 1f
  // The distance in entries of 8 bytes. incssp takes the low 8 bits of its count, so a jump spans
  // 255 calls at most.
  rdsspq %rax
  mov JUMP_BUFFER_SSP(%rcx), %r8
  sub %rax, %r8
  shr $3, %r8
  incsspq %r8
1:
  mov JUMP_BUFFER_RBX(%rcx), %rbx
  mov JUMP_BUFFER_RSP(%rcx), %rsp
  mov JUMP_BUFFER_RBP(%rcx), %rbp
  mov JUMP_BUFFER_RDI(%rcx), %rdi
  mov JUMP_BUFFER_RSI(%rcx), %rsi
  mov JUMP_BUFFER_R12(%rcx), %r12
  mov JUMP_BUFFER_R13(%rcx), %r13
  mov JUMP_BUFFER_R14(%rcx), %r14
  mov JUMP_BUFFER_R15(%rcx), %r15
  ldmxcsr JUMP_BUFFER_MXCSR(%rcx)
.irp Number, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15
  movdqu JUMP_BUFFER_XMM(\Number)(%rcx), %xmm\Number
.endr
  mov %rdx, %rax
  jmp *JUMP_BUFFER_RIP(%rcx)
END_FUNCTION InternalLongJump
