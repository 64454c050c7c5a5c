#include "ErrorReportLib.h"

#include "SmmDebugServiceLib.h"
#include "SmmServicesTableLib.h"

namespace {

constexpr CHAR8 SourceFile[] = "ServerRasPkg/Library/LibraryGen2/ErrorReportLib/ErrorReportLib";
constexpr AssertionSite RouterLocated = {SourceFile, 139};
constexpr AssertionSite ListenerRegistered = {SourceFile, 179};

/// The status-code router; null until bound. It belongs to its producer.
constinit EFI_SMM_RSC_HANDLER_PROTOCOL *mRscHandlerProtocol = nullptr;

} // namespace

EFI_STATUS EFIAPI
InitializeErrorReportLib (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  VOID *Interface = nullptr;
  const EFI_STATUS Status = LocateSmmProtocol (&gEfiSmmRscHandlerProtocolGuid, &Interface);
  mRscHandlerProtocol = static_cast<EFI_SMM_RSC_HANDLER_PROTOCOL *> (Interface);
  ASSERT_EFI_ERROR (Status, RouterLocated);
  return EFI_SUCCESS;
}

EFI_STATUS
RegisterErrorLogListener (EFI_SMM_RSC_HANDLER_CALLBACK Callback)
{
  const EFI_STATUS Status =
      mRscHandlerProtocol != nullptr ? mRscHandlerProtocol->Register (Callback) : EFI_NOT_READY;
  ASSERT_EFI_ERROR (Status, ListenerRegistered);
  return Status;
}
