#include "IioTopologyLibInternal.h"
#include "Protocol/SmmReadyToLock.h"
#include "ProtocolLib.h"
#include "SmmRasGlobalDataLib.h"

constinit IioTopologyStore *mIioTopology = nullptr;

namespace {

/// The notification of SmmReadyToLock; null while none is registered.
constinit VOID *mReadyToLockRegistration = nullptr;

} // namespace

EFI_STATUS EFIAPI
IioTopologyLibConstructor (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  BOOLEAN NewBuffer = FALSE;
  mIioTopology = static_cast<IioTopologyStore *> (
      GetRasGlobalData (PlatIioTopologyName, sizeof (IioTopologyStore), &NewBuffer));
  if (mIioTopology == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  if (!NewBuffer) {
    return EFI_SUCCESS;
  }

  const EFI_STATUS Status = InitializeIioTopology ();
  if (EFI_ERROR (Status)) {
    return Status;
  }
  return RegisterSmmNotify (&gEfiSmmReadyToLockProtocolGuid, IioTopologyReadyToLockNotify,
                            &mReadyToLockRegistration);
}

VOID
IioTopologyLibWithdraw ()
{
  // The driver goes away whatever the service says.
  (void)UnregisterSmmNotify (&gEfiSmmReadyToLockProtocolGuid, &mReadyToLockRegistration);
}
