#include "SmmAccess.h"

#include "FaultPlan.h"
#include "FirmwareWorld.h"
#include "ProtocolDatabase.h"
#include "UnprovidedService.h"

constinit EFI_SMRAM_DESCRIPTOR gSmramMap[SmramRangeCount] = {};
constinit EFI_SMM_ACCESS2_PROTOCOL gSmmAccess = {};

namespace {

constexpr ServiceName SmmAccess = "the SMM access protocol has no ";

/// State of a range that is open to its owner and in use (PI 1.8, volume 4, 5.4).
constexpr UINT64 EFI_SMRAM_OPEN = 0x00000001;
constexpr UINT64 EFI_ALLOCATED = 0x00000010;

EFI_SMRAM_DESCRIPTOR
Range (UINT64 Start, UINT64 Size)
{
  return {.PhysicalStart = Start + gWorld.SmramOffset,
          .CpuStart = Start,
          .PhysicalSize = Size,
          .RegionState = EFI_SMRAM_OPEN | EFI_ALLOCATED};
}

EFI_STATUS EFIAPI
GetCapabilities (const EFI_SMM_ACCESS2_PROTOCOL *This,
                 UINTN *SmramMapSize,
                 EFI_SMRAM_DESCRIPTOR *SmramMap)
{
  if (This != &gSmmAccess || SmramMapSize == nullptr) {
    FirmwareFault ("GetCapabilities of an unknown interface, or without a size");
  }
  const EFI_STATUS Planned = FaultPlanCount (ServiceGetCapabilities);
  if (EFI_ERROR (Planned)) {
    return Planned;
  }
  const UINTN Room = *SmramMapSize;
  *SmramMapSize = sizeof gSmramMap;
  if (Room < sizeof gSmramMap) {
    return EFI_BUFFER_TOO_SMALL;
  }
  __builtin_memcpy (SmramMap, gSmramMap, sizeof gSmramMap);
  return Planned;
}

} // namespace

VOID
SmmAccessReset ()
{
  const PoolMemory &Pool = gWorld.Pools[PoolSmm];
  const auto Start = reinterpret_cast<UINT64> (Pool.Start);
  const UINT64 Middle = Pool.Size / 2;
  gSmramMap[0] = Range (gWorld.CoreStart, gWorld.CoreSize);
  gSmramMap[1] = Range (Start, Middle);
  gSmramMap[2] = Range (Start + Middle, Pool.Size - Middle);
  gSmmAccess = {
      .Open = UNPROVIDED (SmmAccess, Open),
      .Close = UNPROVIDED (SmmAccess, Close),
      .Lock = UNPROVIDED (SmmAccess, Lock),
      .GetCapabilities = GetCapabilities,
      .LockState = FALSE,
      .OpenState = TRUE,
  };
  ProtocolPublish (ProtocolBoot, &gEfiSmmAccess2ProtocolGuid, &gSmmAccess);
}
