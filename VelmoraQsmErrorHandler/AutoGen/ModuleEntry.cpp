#include "AutoGen.h"

#include "BaseLib.h"
#include "SmmDebugServiceLib.h"
#include "VelmoraQsmErrorHandler.h"

constinit EFI_STATUS mDriverEntryPointStatus = EFI_LOAD_ERROR;

namespace {

constexpr AssertionSite LongJumpReturned = {AutoGenSourceFile, 1027, UnreachableAssertionText};
constexpr AssertionSite ExitDriverReturned = {AutoGenSourceFile, 1042, UnreachableAssertionText};

/// The point in ProcessModuleEntryPointList to which ExitDriver returns.
constinit JumpBuffer mJumpContext = {};

} // namespace

EFI_STATUS EFIAPI
ProcessModuleEntryPointList (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable)
{
  mDriverEntryPointStatus = EFI_LOAD_ERROR;
  if (SetJump (&mJumpContext) == 0) {
    ExitDriver (QsmErrorHandlerEntryPoint (ImageHandle, SystemTable));
    ASSERT (false, ExitDriverReturned);
  }
  return mDriverEntryPointStatus;
}

VOID EFIAPI
ExitDriver (EFI_STATUS Status)
{
  if (!EFI_ERROR (Status) || EFI_ERROR (mDriverEntryPointStatus)) {
    mDriverEntryPointStatus = Status;
  }
  LongJump (&mJumpContext, ~UINTN{0});
  ASSERT (false, LongJumpReturned);
}

EFI_STATUS EFIAPI
ProcessModuleUnloadList (EFI_HANDLE)
{
  return EFI_SUCCESS;
}
