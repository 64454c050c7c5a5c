#include "AssemblyFunction.inc"

// Arguments 5 and 6 of a function that has pushed nothing. Below them lie four slots for the
// arguments in registers, the callee's to use: the first keeps rbx here.
#define ARGUMENT5 0x28
#define ARGUMENT6 0x30

// UINT32 AsmCpuidEx (UINT32 Index, UINT32 SubIndex, UINT32 *Eax, *Ebx, *Ecx, *Edx).
FUNCTION AsmCpuidEx
  mov %rbx, 0x8(%rsp)
  mov %ecx, %r10d
  mov %ecx, %eax
  mov %edx, %ecx
  cpuid
  test %r8, %r8
  jz 1f
  mov %eax, (%r8)
1:
  test %r9, %r9
  jz 2f
  mov %ebx, (%r9)
2:
  mov ARGUMENT5(%rsp), %r8
  test %r8, %r8
  jz 3f
  mov %ecx, (%r8)
3:
  mov ARGUMENT6(%rsp), %r8
  test %r8, %r8
  jz 4f
  mov %edx, (%r8)
4:
  mov %r10d, %eax
  mov 0x8(%rsp), %rbx
  ret
END_FUNCTION AsmCpuidEx

// UINT32 AsmCpuid (UINT32 Index, UINT32 *Eax, *Ebx, *Ecx, *Edx): sub-leaf 0.
FUNCTION AsmCpuid
  mov ARGUMENT5(%rsp), %rax
  sub $0x38, %rsp
  FRAME_SIZE 0x38
  mov %rax, 0x28(%rsp)
  mov %r9, 0x20(%rsp)
  mov %r8, %r9
  mov %rdx, %r8
  xor %edx, %edx
  call AsmCpuidEx
  add $0x38, %rsp
  FRAME_SIZE 0
  ret
END_FUNCTION AsmCpuid
