#include "AssemblyFunction.inc"

// VOID InternalMemCopyBlocks (VOID *Destination, const VOID *Source, UINTN BlockCount): rcx, rdx,
// r8. Destination is on a 16-byte boundary, BlockCount at least 1. The stores go past the caches,
// and the fence makes them visible ahead of those that follow. Code that runs in System Management
// Mode may use a vector register only if it gives it back.
FUNCTION InternalMemCopyBlocks
  sub $0x18, %rsp
  FRAME_SIZE 0x18
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
  FRAME_SIZE 0
  ret
END_FUNCTION InternalMemCopyBlocks
