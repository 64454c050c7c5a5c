// What a processor's first SMI runs, at the reset value of SMBASE: gives it another one. Copied to
// RESET_SMBASE + 0x8000.

#include "SmmTileOffsets.h"

// Offset in SMRAM of the save state's SMBASE (AMD64 APM, volume 2, table 10-1).
#define SAVED_SMBASE 0xFF00

.text
.code16
.globl gRelocationHandler, gRelocationHandlerEnd
gRelocationHandler:
  jmp 1f
.balign 4
// To be read and written by the boot code: struct RelocationCall.
NewSmbase:
  .long 0
Done:
  .long 0
1:
  movl %cs:(NewSmbase - gRelocationHandler + SMM_ENTRY_OFFSET), %eax
  movl %eax, %cs:SAVED_SMBASE
  movl $1, %cs:(Done - gRelocationHandler + SMM_ENTRY_OFFSET)
  rsm
gRelocationHandlerEnd:
