#include "AssemblyFunction.inc"

// UINT8 IoRead8 (UINT16 Port): cx.
FUNCTION IoRead8
  mov %ecx, %edx
  in %dx, %al
  ret
END_FUNCTION IoRead8

// VOID IoWrite8 (UINT16 Port, UINT8 Value): cx, dl.
FUNCTION IoWrite8
  mov %edx, %eax
  mov %ecx, %edx
  out %al, %dx
  ret
END_FUNCTION IoWrite8
