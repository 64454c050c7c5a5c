#include "RasDebugLibInternal.h"

#include "BaseMemoryLibOptDxe.h"
#include "CmosAccessLib.h"
#include "DxeSmmStandaloneMmHobLib.h"
#include "Pcd.h"
#include "Record/RasLevelMask.h"

namespace {

constexpr UINT32 Unresolved = 0xFFFFFFFF;

/// Every processor that finds the mask out stores the same value.
constinit UINT32 mRasLevelMask = Unresolved;

/// Returns where the mask's HOB keeps its data, or null without such a HOB.
UINT8 *
FindMaskInHob ()
{
  return static_cast<UINT8 *> (DataOfGuidHob (GetFirstGuidHob (&gRasLevelMaskHobGuid)).Start);
}

UINT32
ReadMaskFromCmos ()
{
  const UINT32 High = CmosRead16 (RasLevelCmosOffset + 2);
  const UINT32 Low = CmosRead16 (RasLevelCmosOffset);
  return High << 16 | Low;
}

/// Leaves the mask to the drivers to come. Without room for one more HOB each of them reads CMOS.
VOID
PublishMask (UINT32 Mask)
{
  UINT8 *Data = FindMaskInHob ();
  if (Data != nullptr) {
    CopyMem (Data, &Mask, sizeof (Mask));
  } else {
    (void)BuildGuidDataHob (&gRasLevelMaskHobGuid, &Mask, sizeof (Mask));
  }
}

UINT32
LookUpMask ()
{
  UINT32 Mask = 0;
  const UINT8 *Data = FindMaskInHob ();
  if (Data != nullptr) {
    CopyMem (&Mask, Data, sizeof (Mask));
    return Mask;
  }
  Mask = ReadMaskFromCmos ();
  PublishMask (Mask);
  return Mask;
}

} // namespace

UINT32
GetRasLevelMask ()
{
  UINT32 Mask = __atomic_load_n (&mRasLevelMask, __ATOMIC_RELAXED);
  if (Mask == Unresolved) {
    Mask = LookUpMask ();
    __atomic_store_n (&mRasLevelMask, Mask, __ATOMIC_RELAXED);
  }
  return Mask;
}
