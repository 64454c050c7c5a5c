/// What each processor has for itself in SMRAM: 64 KiB from its SMBASE on.
#pragma once

#include "MemoryMap.h"
#include "SmmTileOffsets.h"

#include "Base.h"

/// Of a 64-bit task state segment only the stacks count (Intel SDM, volume 3, 8.7).
struct [[gnu::packed]] TaskState {
  UINT8 Reserved0[36];
  UINT64 InterruptStack[7]; ///< By number, from 1.
  UINT8 Reserved1[10];
  UINT16 PortMap;
};
LAYOUT_OFFSET (TaskState, InterruptStack, 0x24);
LAYOUT_SIZE (TaskState, 0x68);

/// Numbers of the interrupt stacks.
inline constexpr UINT8 ExceptionStackNumber = 1;
inline constexpr UINT8 MachineCheckStackNumber = 2;

struct SmmTile {
  UINT8 Guard[0x1000]; ///< Not present: a stack that grows too far ends here.
  UINT8 Stack[0x4000];
  UINT8 ExceptionStack[0x1000];
  UINT8 MachineCheckStack[0x1000];

  UINT64 Descriptors[6];
  UINT16 DescriptorLimit; ///< These two are what LGDT is given in 16-bit mode.
  UINT16 DescriptorBase[2];
  UINT16 Reserved0;
  UINT32 Base; ///< Address of this tile.
  UINT32 Index;
  UINT64 EntryTsc; ///< Time-stamp counter at the last entry.
  UINT8 Reserved1[0x38];
  UINT8 FxState[0x200]; ///< Vector and x87 registers of the interrupted context.
  TaskState Task;
  UINT8 Reserved2[0xD18];

  UINT8 Entry[0x7C00];
  UINT8 SaveState[0x400];
};
LAYOUT_OFFSET (SmmTile, Stack, TILE_STACK);
LAYOUT_OFFSET (SmmTile, ExceptionStack, TILE_EXCEPTION_STACK);
LAYOUT_OFFSET (SmmTile, MachineCheckStack, TILE_MACHINE_CHECK_STACK);
LAYOUT_OFFSET (SmmTile, Descriptors, TILE_DESCRIPTORS);
LAYOUT_OFFSET (SmmTile, DescriptorLimit, TILE_DESCRIPTOR_POINTER);
LAYOUT_OFFSET (SmmTile, Base, TILE_BASE);
LAYOUT_OFFSET (SmmTile, Index, TILE_INDEX);
LAYOUT_OFFSET (SmmTile, EntryTsc, TILE_ENTRY_TSC);
LAYOUT_OFFSET (SmmTile, FxState, TILE_FX_STATE);
LAYOUT_OFFSET (SmmTile, Task, TILE_TASK_STATE);
LAYOUT_OFFSET (SmmTile, Entry, SMM_ENTRY_OFFSET);
LAYOUT_OFFSET (SmmTile, SaveState, SMM_SAVE_STATE_OFFSET);
LAYOUT_SIZE (SmmTile, SMM_TILE_SIZE);

/// Index is the number of a processor.
inline SmmTile &
TileOfProcessor (UINTN Index)
{
  return reinterpret_cast<SmmTile *> (SMM_TILES_BASE)[Index];
}

/// The executing processor's. All its stacks lie in it.
inline SmmTile &
CurrentTile ()
{
  const auto Frame = reinterpret_cast<UINTN> (__builtin_frame_address (0));
  return *reinterpret_cast<SmmTile *> (Frame & ~UINTN{SMM_TILE_SIZE - 1});
}
static_assert (SMM_TILES_BASE % SMM_TILE_SIZE == 0);

extern "C" {

/// Fills the tile of a processor, while TSEG is plain RAM.
VOID PrepareTile (UINTN Index);
}
