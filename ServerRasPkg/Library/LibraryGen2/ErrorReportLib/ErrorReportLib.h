/// Ties the driver to the platform's error reporting: the SMM status-code router, and the two lists
/// of error records that all RAS drivers of a boot share.
#pragma once

#include "Protocol/SmmRscHandler.h"
#include "Uefi/SystemTable.h"

extern "C" {

/// Library constructor: binds the router and the SMM CPU service, and finds the two record lists or
/// makes them. Ignores its arguments. Always returns EFI_SUCCESS: a protocol that is not there
/// shows in an assertion and in the RAS debug log, and a list that cannot be had is the store's to
/// report.
EFI_STATUS EFIAPI InitializeErrorReportLib (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

/// Makes the router call Callback for every status code reported in SMM, for the rest of the boot:
/// there is no way to take a listener back. To be called after InitializeErrorReportLib. Returns
/// the router's status unchanged, or EFI_NOT_READY when no router was bound. The RAS debug log has
/// the status either way, and a failure is asserted.
[[nodiscard]] EFI_STATUS RegisterErrorLogListener (EFI_SMM_RSC_HANDLER_CALLBACK Callback);
}
