// Into SMM and out of it, on every processor: from the tile's entry in 16-bit mode to SmmMain.
#include "MemoryMap.h"
#include "SmmTileOffsets.h"

#define DEFAULT_MXCSR 0x1F80

// The type byte of the task state segment's descriptor, with the processor's busy bit.
#define TSS_TYPE_OFFSET (TILE_DESCRIPTORS + TSS_SELECTOR + 5)
#define TSS_TYPE_FREE   0x89

.text
// Copied to the entry of each tile. The code segment starts at the tile, all others at 0.
.code16
.globl gSmmTileEntry, gSmmTileEntryEnd
gSmmTileEntry:
  cli
  cld
  movl %cs:TILE_BASE, %esi
  rdtsc
  movl %eax, TILE_ENTRY_TSC(%esi)
  movl %edx, TILE_ENTRY_TSC + 4(%esi)
  lgdtl %cs:TILE_DESCRIPTOR_POINTER
  mov %cr0, %eax
  or $CR0_PROTECTED, %al
  mov %eax, %cr0
  ljmpl $CODE32_SELECTOR, $ProtectedEntry
gSmmTileEntryEnd:

.code32
ProtectedEntry:
  mov $DATA_SELECTOR, %eax
  mov %eax, %ds
  mov %eax, %es
  mov %eax, %ss
  mov $CR4_LONG_MODE, %eax
  mov %eax, %cr4
  mov $gSmmRootTable, %eax
  mov %eax, %cr3
  mov $MSR_EFER, %ecx
  mov $EFER_LONG_MODE, %eax
  xor %edx, %edx
  wrmsr
  mov $CR0_LONG_MODE, %eax
  mov %eax, %cr0
  ljmp $CODE64_SELECTOR, $LongEntry

.code64
LongEntry:
  mov %esi, %ebx
  lea TILE_EXCEPTION_STACK(%rbx), %rsp
  movb $TSS_TYPE_FREE, TSS_TYPE_OFFSET(%rbx)
  mov $TSS_SELECTOR, %eax
  ltr %ax
  fxsave64 TILE_FX_STATE(%rbx)
  fninit
  pushq $DEFAULT_MXCSR
  ldmxcsr (%rsp)
  pop %rax
  call UseInterruptTable
  mov %rbx, %rdi
  call SmmMain
  fxrstor64 TILE_FX_STATE(%rbx)
  rsm
