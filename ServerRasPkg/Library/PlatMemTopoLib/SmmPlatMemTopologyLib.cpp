#include "SmmPlatMemTopologyLib.h"

#include "RasDebugLib.h"
#include "Record/PlatMemTopology.h"
#include "SmmRasGlobalDataLib.h"

namespace {

constexpr SourceSite StoreFound = {"ServerRasPkg/Library/PlatMemTopoLib/SmmPlatMemTopologyLib", 55};

/// The shared store; null if there is none.
constinit PlatMemTopology *mPlatMemTopology = nullptr;

} // namespace

EFI_STATUS EFIAPI
SmmPlatMemTopologyLibConstructor (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  BOOLEAN NewBuffer = FALSE;
  mPlatMemTopology = static_cast<PlatMemTopology *> (
      GetRasGlobalData (PlatMemTopologyName, sizeof (PlatMemTopology), &NewBuffer));
  RAS_ASSERT (mPlatMemTopology != nullptr, StoreFound);
  if (NewBuffer) {
    mPlatMemTopology->FirstByte = 0;
  }
  return EFI_SUCCESS;
}
