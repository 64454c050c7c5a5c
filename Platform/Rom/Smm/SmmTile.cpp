#include "SmmTile.h"

extern "C" {

extern const UINT8 gSmmTileEntry[];
extern const UINT8 gSmmTileEntryEnd[];
}

namespace {

/// A task state segment that is free (Intel SDM, volume 3, 8.2.3).
constexpr UINT64 TaskStateFree = 0x0000890000000000;

/// Descriptor of the segment at Base, in two halves.
constexpr UINT64
TaskDescriptorLow (UINT64 Base)
{
  return TaskStateFree | (sizeof (TaskState) - 1) | (Base & 0xFFFFFF) << 16 |
         (Base >> 24 & 0xFF) << 56;
}

} // namespace

VOID
PrepareTile (UINTN Index)
{
  SmmTile &Tile = TileOfProcessor (Index);
  const auto Base = reinterpret_cast<UINT64> (&Tile);
  const UINT64 Task = Base + TILE_TASK_STATE;
  const UINT64 Descriptors[] = {
      0,         CODE32_DESCRIPTOR, DATA_DESCRIPTOR, CODE64_DESCRIPTOR, TaskDescriptorLow (Task),
      Task >> 32};
  static_assert (sizeof Descriptors == sizeof Tile.Descriptors);
  __builtin_memcpy (Tile.Descriptors, Descriptors, sizeof Descriptors);
  const UINT64 DescriptorBase = Base + TILE_DESCRIPTORS;
  Tile.DescriptorLimit = sizeof Descriptors - 1;
  Tile.DescriptorBase[0] = static_cast<UINT16> (DescriptorBase);
  Tile.DescriptorBase[1] = static_cast<UINT16> (DescriptorBase >> 16);
  Tile.Base = static_cast<UINT32> (Base);
  Tile.Index = static_cast<UINT32> (Index);
  Tile.Task.InterruptStack[ExceptionStackNumber - 1] = Base + TILE_MACHINE_CHECK_STACK;
  Tile.Task.InterruptStack[MachineCheckStackNumber - 1] = Base + TILE_CONTROL;
  Tile.Task.PortMap = sizeof Tile.Task;
  __builtin_memcpy (Tile.Entry, gSmmTileEntry,
                    static_cast<UINTN> (gSmmTileEntryEnd - gSmmTileEntry));
}
