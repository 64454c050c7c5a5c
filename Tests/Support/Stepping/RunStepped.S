#include "AssemblyFunction.inc"
#include "SteppedCallOffsets.h"

#define TRAP_FLAG 0x100

// The frame: the called function's home area and two arguments, then ours.
#define FRAME_STACK_ARGUMENTS 0x20
#define FRAME_FUNCTION        0x30
#define FRAME_MXCSR           0x38
#define FRAME_CALL            0x40

// Applies Operation Number, Register to each general register but RSP and RDI.
.macro EACH_REGISTER Operation
  \Operation 0, %rax
  \Operation 1, %rcx
  \Operation 2, %rdx
  \Operation 3, %rbx
  \Operation 5, %rbp
  \Operation 6, %rsi
  \Operation 8, %r8
  \Operation 9, %r9
  \Operation 10, %r10
  \Operation 11, %r11
  \Operation 12, %r12
  \Operation 13, %r13
  \Operation 14, %r14
  \Operation 15, %r15
.endm

.macro LOAD Number, Register
  mov STEPPED_CALL_ENTRY + REGISTER_FILE_GENERAL(\Number)(%rdi), \Register
.endm

.macro STORE Number, Register
  mov \Register, STEPPED_CALL_EXIT + REGISTER_FILE_GENERAL(\Number)(%rdi)
.endm

// void RunStepped (SteppedCall *Call), in the System V convention: rdi.
FUNCTION RunStepped
  push %rbx
  push %rbp
  push %r12
  push %r13
  push %r14
  push %r15
  push %rdi
  sub $FRAME_CALL, %rsp
  stmxcsr FRAME_MXCSR(%rsp)

  mov STEPPED_CALL_ENTRY + REGISTER_FILE_STACK_ARGUMENTS(%rdi), %rax
  mov %rax, FRAME_STACK_ARGUMENTS(%rsp)
  mov STEPPED_CALL_ENTRY + REGISTER_FILE_STACK_ARGUMENTS + 8(%rdi), %rax
  mov %rax, FRAME_STACK_ARGUMENTS + 8(%rsp)
  mov STEPPED_CALL_FUNCTION(%rdi), %rax
  mov %rax, FRAME_FUNCTION(%rsp)
  fxrstor STEPPED_CALL_ENTRY(%rdi)
  EACH_REGISTER LOAD
  LOAD 7, %rdi

  // The first trap comes behind the call, ahead of the function's first instruction.
  pushfq
  orq $TRAP_FLAG, (%rsp)
  popfq
  call *FRAME_FUNCTION(%rsp)
  pushfq
  andq $~TRAP_FLAG, (%rsp)
  popfq

  push %rdi
  mov FRAME_CALL + 8(%rsp), %rdi
  EACH_REGISTER STORE
  pop %rax
  STORE 7, %rax
  fxsave STEPPED_CALL_EXIT(%rdi)

  xor %eax, %eax
  xchg STEPPED_CALL_THEN(%rdi), %rax
  test %rax, %rax
  jz 1f
  call *%rax
1:
  ldmxcsr FRAME_MXCSR(%rsp)
  add $FRAME_CALL + 8, %rsp
  pop %r15
  pop %r14
  pop %r13
  pop %r12
  pop %rbp
  pop %rbx
  ret
END_FUNCTION RunStepped

// void ResumeStepping (), to which a function returns that was stepped over. The next trap comes at
// its caller.
FUNCTION ResumeStepping
  pushfq
  orq $TRAP_FLAG, (%rsp)
  popfq
  jmp *mSteppedReturn(%rip)
END_FUNCTION ResumeStepping
