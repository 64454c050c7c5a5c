/// Attaches the driver's listener to the SMM status-code router.
#pragma once

#include "Protocol/SmmRscHandler.h"
#include "Uefi/SystemTable.h"

extern "C" {

/// Library constructor: binds the router. Ignores its arguments. Always returns EFI_SUCCESS; a
/// router that is not there shows in an assertion.
EFI_STATUS EFIAPI InitializeErrorReportLib (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

/// Makes the router call Callback for every status code reported in SMM, for the rest of the boot:
/// there is no way to take a listener back. To be called after InitializeErrorReportLib. Returns
/// the router's status unchanged, or EFI_NOT_READY when no router was bound; a failure is asserted.
[[nodiscard]] EFI_STATUS RegisterErrorLogListener (EFI_SMM_RSC_HANDLER_CALLBACK Callback);
}
