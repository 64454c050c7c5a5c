#include "AssemblyFunction.inc"

// UINT64 AsmReadMsr64 (UINT32 Index): ecx.
FUNCTION AsmReadMsr64
  rdmsr
  shl $32, %rdx
  or %rdx, %rax
  ret
END_FUNCTION AsmReadMsr64

// UINT64 AsmReadTsc ().
FUNCTION AsmReadTsc
  rdtsc
  shl $32, %rdx
  or %rdx, %rax
  ret
END_FUNCTION AsmReadTsc

// VOID CpuPause ().
FUNCTION CpuPause
  pause
  ret
END_FUNCTION CpuPause

// VOID CpuBreakpoint ().
FUNCTION CpuBreakpoint
  int3
  ret
END_FUNCTION CpuBreakpoint
