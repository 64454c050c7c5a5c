#include "Pool.h"

#include "FaultPlan.h"
#include "ProcessorLock.h"
#include "WritableWhenLocked.h"

WRITABLE_WHEN_LOCKED constinit Pool gPools[PoolKindCount] = {};

namespace {

/// Fills new blocks, which have no defined content.
constexpr int NewBlockPattern = 0xAF;

/// By PoolKind.
constexpr FirmwareService AllocateService[] = {ServiceSmmAllocatePool, ServiceBootAllocatePool};
constexpr FirmwareService FreeService[] = {ServiceSmmFreePool, ServiceBootFreePool};

/// Guards both pools: errors may be served on several processors at once.
WRITABLE_WHEN_LOCKED constinit ProcessorLock mLock = false;

/// A block takes a stretch of memory with its guards, from a multiple of this on.
constexpr UINTN StretchAlignment = 16;
static_assert (PoolGuardAhead % StretchAlignment == 8);

UINTN
StretchSize (UINTN BlockSize)
{
  const UINTN Size = PoolGuardAhead + BlockSize + PoolGuardBehind;
  return (Size + StretchAlignment - 1) / StretchAlignment * StretchAlignment;
}

/// Returns where a live block's stretch ends that lies in the way of Size bytes at Start; null if
/// there is none.
const UINT8 *
EndOfObstacle (const Pool &In, const UINT8 *Start, UINTN Size)
{
  UINTN Left = In.LiveBlocks;
  for (const PoolBlock *Block = In.Blocks; Left > 0; ++Block) {
    if (Block->Live) {
      --Left;
      const UINT8 *Stretch = Block->Address - PoolGuardAhead;
      const UINT8 *End = Stretch + StretchSize (Block->Size);
      if (Stretch < Start + Size && Start < End) {
        return End;
      }
    }
  }
  return nullptr;
}

/// Finds room for a block from the cursor on, then from the start, and moves the cursor behind it.
/// Returns the block's address, or null.
UINT8 *
FindRoom (Pool *Of, const PoolMemory &Memory, UINTN BlockSize)
{
  const UINTN Needed = StretchSize (BlockSize);
  UINTN Offset = Of->Cursor;
  bool FromStart = false;
  for (;;) {
    if (Offset + Needed > Memory.Size) {
      if (FromStart) {
        return nullptr;
      }
      FromStart = true;
      Offset = 0;
      continue;
    }
    const UINT8 *End = EndOfObstacle (*Of, Memory.Start + Offset, Needed);
    if (End == nullptr) {
      Of->Cursor = Offset + Needed;
      return Memory.Start + Offset + PoolGuardAhead;
    }
    Offset = static_cast<UINTN> (End - Memory.Start);
  }
}

/// Returns the next place that holds no live block, or null. Freed blocks are thus remembered for
/// as long as there are other places.
PoolBlock *
FindPlace (Pool *Of)
{
  for (UINTN Tried = 0; Tried < PoolBlockMax; ++Tried) {
    PoolBlock *Place = &Of->Blocks[Of->NextPlace];
    Of->NextPlace = (Of->NextPlace + 1) % PoolBlockMax;
    if (!Place->Live) {
      return Place;
    }
  }
  return nullptr;
}

/// Returns the last block that was given out at Address, live or freed; null if there is none.
PoolBlock *
FindBlock (Pool *Of, const VOID *Address)
{
  UINTN Place = Of->NextPlace;
  for (UINTN Tried = 0; Tried < PoolBlockMax; ++Tried) {
    Place = (Place + PoolBlockMax - 1) % PoolBlockMax;
    if (Of->Blocks[Place].Address == Address) {
      return &Of->Blocks[Place];
    }
  }
  return nullptr;
}

/// Returns the new block, or null when there is no room for it, or no place in the table.
UINT8 *
AddBlock (PoolKind Kind, EFI_MEMORY_TYPE Type, UINTN Size)
{
  Pool *To = &gPools[Kind];
  UINT8 *Address = nullptr;
  TakeLock (mLock);
  PoolBlock *Place = FindPlace (To);
  if (Place != nullptr) {
    Address = FindRoom (To, gWorld.Pools[Kind], Size);
  }
  if (Address != nullptr) {
    *Place = {.Address = Address, .Size = Size, .Type = Type, .Live = TRUE};
    ++To->LiveBlocks;
    To->LiveBytes += Size;
    ++To->Allocations;
    gWorld.OpenBlock (gWorld.Context, Address, Size);
  }
  GiveLock (mLock);
  return Address;
}

/// Returns what is wrong with the block, or null.
const CHAR8 *
RemoveBlock (Pool *From, const VOID *Address)
{
  const CHAR8 *Wrong = nullptr;
  TakeLock (mLock);
  PoolBlock *Place = Address != nullptr ? FindBlock (From, Address) : nullptr;
  if (Place == nullptr) {
    Wrong = "freed a pointer that is no block of this pool";
  } else if (!Place->Live) {
    Wrong = "freed a pool block twice";
  } else {
    Place->Live = FALSE;
    --From->LiveBlocks;
    From->LiveBytes -= Place->Size;
    if (!gWorld.CloseBlock (gWorld.Context, Place->Address, Place->Size)) {
      Wrong = "a pool block was written outside its bytes";
    }
  }
  GiveLock (mLock);
  return Wrong;
}

} // namespace

VOID
PoolReset ()
{
  mLock = false;
  for (Pool &Each : gPools) {
    Each = {};
  }
}

EFI_STATUS
PoolAllocate (PoolKind Kind, EFI_MEMORY_TYPE Type, UINTN Size, VOID **Buffer)
{
  *Buffer = UndefinedPointer ();
  const EFI_STATUS Planned = FaultPlanCount (AllocateService[Kind]);
  if (EFI_ERROR (Planned)) {
    return Planned;
  }
  if (Kind == PoolSmm && Type != EfiRuntimeServicesCode && Type != EfiRuntimeServicesData) {
    return EFI_INVALID_PARAMETER;
  }
  UINT8 *Address = Size <= gWorld.Pools[Kind].Size ? AddBlock (Kind, Type, Size) : nullptr;
  if (Address == nullptr) {
    if (gPools[Kind].LiveBlocks == PoolBlockMax) {
      FirmwareFault ("more live pool blocks than the table holds");
    }
    return EFI_OUT_OF_RESOURCES;
  }
  __builtin_memset (Address, NewBlockPattern, Size);
  *Buffer = Address;
  return Planned;
}

EFI_STATUS
PoolFree (PoolKind Kind, VOID *Buffer)
{
  const EFI_STATUS Planned = FaultPlanCount (FreeService[Kind]);
  if (EFI_ERROR (Planned)) {
    return Planned;
  }
  const CHAR8 *Wrong = RemoveBlock (&gPools[Kind], Buffer);
  if (Wrong != nullptr) {
    FirmwareFault (Wrong);
  }
  return Planned;
}
