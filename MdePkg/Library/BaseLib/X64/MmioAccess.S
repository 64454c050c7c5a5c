#include "AssemblyFunction.inc"

// UINT8 MmioLoad8 (UINTN Address): rcx, as in all of these.
FUNCTION MmioLoad8
  movzbl (%rcx), %eax
  ret
END_FUNCTION MmioLoad8

// UINT16 MmioLoad16 (UINTN Address).
FUNCTION MmioLoad16
  movzwl (%rcx), %eax
  ret
END_FUNCTION MmioLoad16

// VOID MmioStore16 (UINTN Address, UINT16 Value): dx.
FUNCTION MmioStore16
  mov %dx, (%rcx)
  ret
END_FUNCTION MmioStore16

// UINT32 MmioLoad32 (UINTN Address).
FUNCTION MmioLoad32
  mov (%rcx), %eax
  ret
END_FUNCTION MmioLoad32

// VOID MmioStore32 (UINTN Address, UINT32 Value): edx.
FUNCTION MmioStore32
  mov %edx, (%rcx)
  ret
END_FUNCTION MmioStore32
