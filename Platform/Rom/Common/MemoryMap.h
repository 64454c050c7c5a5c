// Where everything lies in the machine's memory: for the sources, the assembly and the linker
// scripts of both images. All of it but what the devices have is RAM, of which TSEG is the top.
#pragma once

#define RAM_SIZE 0x10000000

// The flat ROM ends at 4 GiB. Its last page holds the code behind the reset vector.
#define ROM_BASE         0xFFFC0000
#define ROM_RESET        0xFFFFF000
#define ROM_RESET_VECTOR 0xFFFFFFF0

// Outside SMM. The processors that are started run from the first page of the trampoline, and each
// takes its first SMI at the reset value of SMBASE.
#define TRAMPOLINE_BASE 0x00008000
#define RESET_SMBASE    0x00030000
#define BOOT_IMAGE_BASE 0x00100000
#define HAND_OVER_BASE  0x01000000
#define VOLUME_BASE     0x02000000
#define VOLUME_MAX      0x00100000
#define BOOT_POOL_BASE  0x03000000
#define BOOT_POOL_SIZE  0x00100000

// TSEG: a tile for each processor, the SMM image, the modules, the copy of their volume, the pool.
#define TSEG_BASE        0x0F800000
#define TSEG_SIZE        0x00800000
#define SMM_TILES_BASE   TSEG_BASE
#define SMM_IMAGE_BASE   (TSEG_BASE + 0x100000)
#define SMM_IMAGE_MAX    0x00300000
#define SMM_DRIVERS_BASE (TSEG_BASE + 0x400000)
#define SMM_DRIVERS_SIZE 0x00100000
#define SMM_VOLUME_BASE  (TSEG_BASE + 0x500000)
#define SMM_POOL_BASE    (TSEG_BASE + 0x600000)
#define SMM_POOL_SIZE    0x00200000

// Devices.
#define PCI_WINDOW_BASE 0xB0000000
#define PCI_MEMORY_BASE 0xC0000000
#define PCI_MEMORY_END  0xFEC00000
#define IO_APIC_BASE    0xFEC00000
#define LOCAL_APIC_BASE 0xFEE00000

// Segment selectors, the same in every descriptor table.
#define CODE32_SELECTOR 0x08
#define DATA_SELECTOR   0x10
#define CODE64_SELECTOR 0x18
#define TSS_SELECTOR    0x20

// Their descriptors: 4 GiB from address 0, and a 64-bit code segment.
#define CODE32_DESCRIPTOR 0x00CF9B000000FFFF
#define DATA_DESCRIPTOR   0x00CF93000000FFFF
#define CODE64_DESCRIPTOR 0x00AF9B000000FFFF

// Bits of control registers (Intel SDM, volume 3, 2.5), and EFER.
#define CR0_PROTECTED  0x00000001
#define CR0_LONG_MODE  0x80010033 // PG, WP, NE, ET, MP, PE
#define CR4_LONG_MODE  0x00000620 // OSXMMEXCPT, OSFXSR, PAE
#define CR4_CHECKED    0x00000660 // And MCE, once the processor has an interrupt table.
#define MSR_EFER       0xC0000080
#define EFER_LONG_MODE 0x00000900 // NXE, LME
