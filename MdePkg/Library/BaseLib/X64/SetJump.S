#include "AssemblyFunction.inc"
#include "JumpBufferOffsets.h"

LINKED_DATA PcdControlFlowEnforcementPropertyMask

// UINTN SetJump (JumpBuffer *Buffer): rcx, result in rax.
FUNCTION SetJump
  push %rcx
  sub $0x20, %rsp
  FRAME_SIZE 0x28
  call InternalAssertJumpBuffer
  add $0x20, %rsp
  pop %rcx
  FRAME_SIZE 0
  xor %eax, %eax
  test %rcx, %rcx
  jnz 1f
  ret
1:
  pop %rdx
  mov %rax, JUMP_BUFFER_SSP(%rcx)
  cmpl $0, PcdControlFlowEnforcementPropertyMask(%rip)
  je 2f
  mov %cr4, %rax
  bt $CR4_CET, %eax
  jnc 2f
  // The entry that this call pushed goes unused: control leaves by a jump.
  mov $1, %eax
  incsspq %rax
  rdsspq %rax
  mov %rax, JUMP_BUFFER_SSP(%rcx)
2:
  mov %rbx, JUMP_BUFFER_RBX(%rcx)
  mov %rsp, JUMP_BUFFER_RSP(%rcx)
  mov %rbp, JUMP_BUFFER_RBP(%rcx)
  mov %rdi, JUMP_BUFFER_RDI(%rcx)
  mov %rsi, JUMP_BUFFER_RSI(%rcx)
  mov %r12, JUMP_BUFFER_R12(%rcx)
  mov %r13, JUMP_BUFFER_R13(%rcx)
  mov %r14, JUMP_BUFFER_R14(%rcx)
  mov %r15, JUMP_BUFFER_R15(%rcx)
  mov %rdx, JUMP_BUFFER_RIP(%rcx)
  stmxcsr JUMP_BUFFER_MXCSR(%rcx)
.irp Number, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15
  movdqu %xmm\Number, JUMP_BUFFER_XMM(\Number)(%rcx)
.endr
  xor %eax, %eax
  jmp *%rdx
END_FUNCTION SetJump
