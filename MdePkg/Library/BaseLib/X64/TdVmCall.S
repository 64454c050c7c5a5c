#include "AssemblyFunction.inc"

// The value of rax that selects TDG.VP.VMCALL, and the set of registers, one bit each by number,
// that the host may see and change: rdx, rbx, rbp, rsi, rdi and r8 to r15.
#define TDG_VP_VMCALL     0
#define EXPOSED_REGISTERS 0xFFEC

// Eight registers and the return address lie below the caller's arguments.
#define SAVED_SIZE      0x48
#define ARGUMENT_ARG4   (SAVED_SIZE + 0x20)
#define ARGUMENT_RESULT (SAVED_SIZE + 0x28)

// UINT64 TdVmCall (UINT64 Leaf, Arg1, Arg2, Arg3, Arg4, UINT64 *Result): rcx, rdx, r8, r9, stack.
FUNCTION TdVmCall
  push %rbx
  push %rbp
  push %rsi
  push %rdi
  push %r12
  push %r13
  push %r14
  push %r15
  FRAME_SIZE 0x40

  mov %rcx, %r11
  mov %rdx, %r12
  mov %r8, %r13
  mov %r9, %r14
  mov ARGUMENT_ARG4(%rsp), %r15
  mov $TDG_VP_VMCALL, %eax
  mov $EXPOSED_REGISTERS, %ecx
  xor %r10d, %r10d
  // The host gets no leftovers of the guest.
  xor %ebx, %ebx
  xor %esi, %esi
  xor %edi, %edi
  xor %edx, %edx
  xor %ebp, %ebp
  xor %r8d, %r8d
  xor %r9d, %r9d
  tdcall

  test %rax, %rax
  jnz 1f
  mov %r10, %rax
  test %rax, %rax
  jnz 1f
  mov ARGUMENT_RESULT(%rsp), %rdx
  test %rdx, %rdx
  jz 1f
  mov %r11, (%rdx)
1:
  // Nor does the guest keep any of the host.
  xor %ecx, %ecx
  xor %edx, %edx
  xor %r8d, %r8d
  xor %r9d, %r9d
  xor %r10d, %r10d
  xor %r11d, %r11d
  pop %r15
  pop %r14
  pop %r13
  pop %r12
  pop %rdi
  pop %rsi
  pop %rbp
  pop %rbx
  FRAME_SIZE 0
  ret
END_FUNCTION TdVmCall
