#include "StatusCodeRouter.h"

#include "FaultPlan.h"
#include "Firmware.h"
#include "ProtocolDatabase.h"

namespace {

/// In the order of their registration.
constinit EFI_SMM_RSC_HANDLER_CALLBACK mListeners[ListenerMax] = {};
constinit UINTN mListenerCount = 0;

/// Returns the listener's place, or mListenerCount.
UINTN
FindListener (EFI_SMM_RSC_HANDLER_CALLBACK Callback)
{
  UINTN Place = 0;
  while (Place < mListenerCount && mListeners[Place] != Callback) {
    ++Place;
  }
  return Place;
}

EFI_STATUS EFIAPI
Register (EFI_SMM_RSC_HANDLER_CALLBACK Callback)
{
  const EFI_STATUS Planned = FaultPlanCount (ServiceRegisterListener);
  if (EFI_ERROR (Planned)) {
    return Planned;
  }
  if (Callback == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (FindListener (Callback) < mListenerCount) {
    return EFI_ALREADY_STARTED;
  }
  if (mListenerCount == ListenerMax) {
    return EFI_OUT_OF_RESOURCES;
  }
  mListeners[mListenerCount++] = Callback;
  return Planned;
}

EFI_STATUS EFIAPI
Unregister (EFI_SMM_RSC_HANDLER_CALLBACK Callback)
{
  if (Callback == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const UINTN Place = FindListener (Callback);
  if (Place == mListenerCount) {
    return EFI_NOT_FOUND;
  }
  --mListenerCount;
  for (UINTN Index = Place; Index < mListenerCount; ++Index) {
    mListeners[Index] = mListeners[Index + 1];
  }
  return EFI_SUCCESS;
}

constinit EFI_SMM_RSC_HANDLER_PROTOCOL mRouter = {.Register = Register, .Unregister = Unregister};

} // namespace

VOID
StatusCodeRouterReset ()
{
  mListenerCount = 0;
  ProtocolPublish (ProtocolSmm, &gEfiSmmRscHandlerProtocolGuid, &mRouter);
}

UINTN
StatusCodeListenerCount ()
{
  return mListenerCount;
}

EFI_STATUS
FirmwareReportStatusCode (EFI_STATUS_CODE_TYPE CodeType,
                          EFI_STATUS_CODE_VALUE Value,
                          UINT32 Instance,
                          EFI_GUID *CallerId,
                          EFI_STATUS_CODE_DATA *Data)
{
  EFI_STATUS Result = EFI_NOT_FOUND;
  for (UINTN Index = 0; Index < mListenerCount; ++Index) {
    const EFI_STATUS Status = mListeners[Index](CodeType, Value, Instance, CallerId, Data);
    if (EFI_ERROR (Result)) {
      Result = Status;
    }
  }
  return Result;
}
