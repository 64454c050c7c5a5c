#include "RasDebugLibInternal.h"

#include "CmosAccessLib.h"
#include "DxeSmmStandaloneMmHobLib.h"
#include "Pcd.h"
#include "Record/RasLevelMask.h"

namespace {

constexpr UINT32 Unresolved = 0xFFFFFFFF;

/// Every processor that finds the mask out stores the same value.
constinit UINT32 mRasLevelMask = Unresolved;

/// Returns the mask in its HOB, or null without such a HOB.
RasLevelMask *
FindMaskInHob ()
{
  return static_cast<RasLevelMask *> (
      DataOfGuidHob (GetFirstGuidHob (&gRasLevelMaskHobGuid)).Start);
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
PublishMask (const RasLevelMask &Mask)
{
  RasLevelMask *Found = FindMaskInHob ();
  if (Found != nullptr) {
    *Found = Mask;
  } else {
    (void)BuildGuidDataHob (&gRasLevelMaskHobGuid, &Mask, sizeof Mask);
  }
}

UINT32
LookUpMask ()
{
  const RasLevelMask *Found = FindMaskInHob ();
  if (Found != nullptr) {
    return Found->Levels;
  }
  const RasLevelMask Mask = {.Levels = ReadMaskFromCmos ()};
  PublishMask (Mask);
  return Mask.Levels;
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
