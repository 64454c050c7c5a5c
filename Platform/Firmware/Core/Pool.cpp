#include "Pool.h"

#include "FaultPlan.h"
#include "ProcessorLock.h"

constinit Pool gPools[PoolKindCount] = {};

namespace {

/// Fills new blocks, which have no defined content.
constexpr int NewBlockPattern = 0xAF;

/// By PoolKind.
constexpr FirmwareService AllocateService[] = {ServiceSmmAllocatePool, ServiceBootAllocatePool};
constexpr FirmwareService FreeService[] = {ServiceSmmFreePool, ServiceBootFreePool};

/// Guards both pools: errors may be served on several processors at once.
constinit ProcessorLock mLock = false;

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

/// Returns the live block at Address; else one that was there and has been freed; else null.
PoolBlock *
FindBlock (Pool *Of, const VOID *Address)
{
  PoolBlock *Found = nullptr;
  for (PoolBlock &Block : Of->Blocks) {
    if (Block.Address == Address && (Found == nullptr || Block.Live)) {
      Found = &Block;
    }
  }
  return Found;
}

/// Returns false when there is no place left.
bool
AddBlock (Pool *To, const PoolBlock &Block)
{
  TakeLock (mLock);
  PoolBlock *Place = FindPlace (To);
  if (Place != nullptr) {
    *Place = Block;
    ++To->LiveBlocks;
    To->LiveBytes += Block.Size;
    ++To->Allocations;
  }
  GiveLock (mLock);
  return Place != nullptr;
}

/// Returns the block as it was known: no longer live when it is freed for a second time, and
/// without an address when it was never a block.
PoolBlock
RemoveBlock (Pool *From, const VOID *Address)
{
  PoolBlock Known = {};
  TakeLock (mLock);
  PoolBlock *Place = Address != nullptr ? FindBlock (From, Address) : nullptr;
  if (Place != nullptr) {
    Known = *Place;
    if (Place->Live) {
      Place->Live = FALSE;
      --From->LiveBlocks;
      From->LiveBytes -= Place->Size;
    }
  }
  GiveLock (mLock);
  return Known;
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
  auto *Address = static_cast<UINT8 *> (gWorld.TakeBlock (gWorld.Context, Kind, Size));
  if (Address == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  __builtin_memset (Address, NewBlockPattern, Size);
  if (!AddBlock (&gPools[Kind], {.Address = Address, .Size = Size, .Type = Type, .Live = TRUE})) {
    FirmwareFault ("more live pool blocks than the table holds");
  }
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
  const PoolBlock Block = RemoveBlock (&gPools[Kind], Buffer);
  if (Block.Address == nullptr) {
    FirmwareFault ("freed a pointer that is no block of this pool");
  }
  if (!Block.Live) {
    FirmwareFault ("freed a pool block twice");
  }
  gWorld.ReturnBlock (gWorld.Context, Kind, Buffer, Block.Size);
  return Planned;
}
