// From the reset vector to BootMain, in 64-bit mode on the first processor.
#include "MemoryMap.h"

// At reset the processor is in real mode with the code segment 64 KiB below 4 GiB.
#define RESET_OFFSET(Label) (Label - ResetStart + (ROM_RESET & 0xFFFF))

.section .reset, "ax"
.code16
.globl ResetStart
ResetStart:
  cli
  cld
  lgdtl %cs:RESET_OFFSET (DescriptorPointer)
  mov %cr0, %eax
  or $CR0_PROTECTED, %al
  mov %eax, %cr0
  ljmpl $CODE32_SELECTOR, $ProtectedStart

.code32
ProtectedStart:
  mov $DATA_SELECTOR, %eax
  mov %eax, %ds
  mov %eax, %es
  mov %eax, %ss
  mov $ROM_BASE, %esi
  mov $BOOT_IMAGE_BASE, %edi
  mov $gBootImageDwords, %ecx
  rep movsl
  xor %eax, %eax
  mov $gBootZeroStart, %edi
  mov $gBootZeroDwords, %ecx
  rep stosl
  mov $BootStart, %eax
  jmp *%eax

.balign 8
Descriptors:
  .quad 0, CODE32_DESCRIPTOR, DATA_DESCRIPTOR, CODE64_DESCRIPTOR
DescriptorPointer:
  .word . - Descriptors - 1
  .long Descriptors

.section .resetvector, "ax"
.code16
  // A jump to the offset of ResetStart, which counts from its own end. The ROM ends with this line.
  .byte 0xE9
  .word (ROM_RESET - ROM_RESET_VECTOR - 3) & 0xFFFF
  .balign 16, 0xF4
