#include "AssemblyFunction.inc"

#define VECTOR_COUNT      64
#define VECTOR_ENTRY_SIZE 16

// The exceptions with which the processor pushes an error code, one bit each by vector
// (Intel SDM, volume 3, table 6-1).
#define WITH_ERROR_CODE 0x60227D00

.globl gVectorEntries
.balign VECTOR_ENTRY_SIZE
gVectorEntries:
.set Vector, 0
.rept VECTOR_COUNT
  .balign VECTOR_ENTRY_SIZE
  .if Vector > 31 || !((WITH_ERROR_CODE >> Vector) & 1)
  push $0
  .endif
  push $Vector
  jmp SaveContext
  .set Vector, Vector + 1
.endr

// Makes an ExceptionFrame. The processor aligned the stack, and the frame's size keeps it so.
SaveContext:
  push %rax
  push %rbx
  push %rcx
  push %rdx
  push %rsi
  push %rdi
  push %rbp
  push %r8
  push %r9
  push %r10
  push %r11
  push %r12
  push %r13
  push %r14
  push %r15
  cld
  mov %rsp, %rdi
  call HandleException
  pop %r15
  pop %r14
  pop %r13
  pop %r12
  pop %r11
  pop %r10
  pop %r9
  pop %r8
  pop %rbp
  pop %rdi
  pop %rsi
  pop %rdx
  pop %rcx
  pop %rbx
  pop %rax
  add $0x10, %rsp
  iretq
