#include "AssemblyFunction.inc"

// VOID InternalMemCopyBlocks (VOID *Destination, const VOID *Source, UINTN BlockCount): rcx, rdx,
// r8. Code that runs in System Management Mode may use a vector register only if it gives it back.
FUNCTION InternalMemCopyBlocks
  sub $0x18, %rsp
  movdqu %xmm0, (%rsp)
1:
  movdqu (%rdx), %xmm0
  movntdq %xmm0, (%rcx)
  add $16, %rdx
  add $16, %rcx
  dec %r8
  jnz 1b
  mfence
  movdqu (%rsp), %xmm0
  add $0x18, %rsp
  ret
END_FUNCTION InternalMemCopyBlocks
