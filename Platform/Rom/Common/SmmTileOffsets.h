// Byte offsets in a processor's tile of SMRAM, for its structure and for the assembly.
#pragma once

#define SMM_TILE_SIZE            0x10000

#define TILE_STACK               0x1000
#define TILE_EXCEPTION_STACK     0x5000
#define TILE_MACHINE_CHECK_STACK 0x6000
#define TILE_CONTROL             0x7000

#define TILE_DESCRIPTORS         0x7000
#define TILE_DESCRIPTOR_POINTER  0x7030
#define TILE_BASE                0x7038
#define TILE_INDEX               0x703C
#define TILE_ENTRY_TSC           0x7040
#define TILE_FX_STATE            0x7080
#define TILE_TASK_STATE          0x7280

// Where the processor enters SMM, and where it leaves the interrupted context (AMD64 APM, volume 2,
// 10.2 and 10.3).
#define SMM_ENTRY_OFFSET      0x8000
#define SMM_SAVE_STATE_OFFSET 0xFC00
