// The start of the boot image: the first processor comes from the reset code, the others from the
// trampoline, which lies below 1 MiB.
#include "BootStacks.h"
#include "MemoryMap.h"

#define PAGE_PRESENT_WRITE       0x03
#define PAGE_PRESENT_WRITE_LARGE 0x83
#define LARGE_PAGE_SIZE          0x200000
#define DIRECTORY_COUNT          4
#define DIRECTORY_ENTRIES        512

.text
.code32
.globl BootStart
BootStart:
  // One table of each kind maps the low 4 GiB to themselves in pages of 2 MiB.
  movl $(DirectoryPointers + PAGE_PRESENT_WRITE), RootTable
  mov $(Directories + PAGE_PRESENT_WRITE), %eax
  mov $DirectoryPointers, %edi
  mov $DIRECTORY_COUNT, %ecx
1:
  mov %eax, (%edi)
  add $0x1000, %eax
  add $8, %edi
  loop 1b
  mov $PAGE_PRESENT_WRITE_LARGE, %eax
  mov $Directories, %edi
  mov $(DIRECTORY_COUNT * DIRECTORY_ENTRIES), %ecx
2:
  mov %eax, (%edi)
  add $LARGE_PAGE_SIZE, %eax
  add $8, %edi
  loop 2b
  mov $First64, %ebx
  jmp EnterLongMode

ApplicationStart:
  mov $DATA_SELECTOR, %eax
  mov %eax, %ds
  mov %eax, %es
  mov %eax, %ss
  mov $Application64, %ebx

// Goes on at the 64-bit code in ebx.
EnterLongMode:
  lgdt BootDescriptorPointer
  mov $CR4_LONG_MODE, %eax
  mov %eax, %cr4
  mov $RootTable, %eax
  mov %eax, %cr3
  mov $MSR_EFER, %ecx
  mov $EFER_LONG_MODE, %eax
  xor %edx, %edx
  wrmsr
  mov $CR0_LONG_MODE, %eax
  mov %eax, %cr0
  ljmp $CODE64_SELECTOR, $1f

.code64
1:
  mov %ebx, %ebx
  jmp *%rbx

First64:
  lea gBootStacks + BOOT_STACK_SIZE(%rip), %rsp
  call BootMain
  ud2

// The processors arrive in any order, and each takes a stack behind the first one's.
Application64:
  mov $1, %edi
  lock xadd %edi, ApplicationsArrived(%rip)
  inc %edi
  mov %edi, %eax
  inc %eax
  imul $BOOT_STACK_SIZE, %eax, %eax
  lea gBootStacks(%rip), %rsp
  add %rax, %rsp
  call ApplicationMain
  ud2

// Copied to TRAMPOLINE_BASE, whose page is what the start-up IPI gives.
.code16
.globl gTrampoline, gTrampolineEnd
gTrampoline:
  cli
  cld
  xor %ax, %ax
  mov %ax, %ds
  lgdtl %cs:(TrampolinePointer - gTrampoline)
  mov %cr0, %eax
  or $CR0_PROTECTED, %al
  mov %eax, %cr0
  ljmpl $CODE32_SELECTOR, $ApplicationStart
.balign 8
TrampolinePointer:
  .word BootDescriptorsEnd - BootDescriptors - 1
  .long BootDescriptors
gTrampolineEnd:

.section .rodata
.balign 8
BootDescriptors:
  .quad 0, CODE32_DESCRIPTOR, DATA_DESCRIPTOR, CODE64_DESCRIPTOR
BootDescriptorsEnd:
BootDescriptorPointer:
  .word BootDescriptorsEnd - BootDescriptors - 1
  .quad BootDescriptors

.section .bss
.balign 0x1000
RootTable:
  .skip 0x1000
DirectoryPointers:
  .skip 0x1000
Directories:
  .skip DIRECTORY_COUNT * 0x1000
ApplicationsArrived:
  .skip 4
