/// The driver proper: hardware errors that the firmware reports in SMM arrive at the BMC as events
/// about named devices.
#pragma once

#include "Protocol/SmmIpmiTransport.h"
#include "Record/ErrorClass.h"
#include "Record/ErrorRecord.h"
#include "Record/Inventory.h"
#include "Record/RequestData.h"
#include "SmmDebugServiceLib.h"
#include "Uefi/StatusCode.h"
#include "Uefi/SystemTable.h"

extern "C" {

/// The system inventory; null until bound. The entry point binds it, and FindRedFishId does if it
/// finds it null. Several processors may write it at once, always with the same value; hence all
/// access is atomic.
extern const InventoryInfo *mInventoryInfo;

/// The way to the BMC; null until the entry point has bound it, constant from then on.
extern SmmIpmiTransportProtocol *mIpmiTransport;

/// The driver's entry: binds the inventory and the IPMI transport, then registers the listener.
/// Returns the status of the first step that failed, or what the registration gave: zero, or a
/// warning, which counts as success.
EFI_STATUS EFIAPI QsmErrorHandlerEntryPoint (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

/// The listener: an EFI_SMM_RSC_HANDLER_CALLBACK (PI 1.8, volume 3, 7), called on the processor
/// that reports the status code.
///
/// Takes up error codes of the value HARDWARE_ERROR_STATUS_CODE whose data is a header of 20 bytes
/// and a CPER record, which it trusts as it comes. Returns EFI_SUCCESS for those, whatever becomes
/// of the error, and EFI_UNSUPPORTED for all others and for null Data.
EFI_STATUS EFIAPI QsmLogErrorWrapper (EFI_STATUS_CODE_TYPE CodeType,
                                      EFI_STATUS_CODE_VALUE Value,
                                      UINT32 Instance,
                                      EFI_GUID *CallerId,
                                      EFI_STATUS_CODE_DATA *Data);

/// Locates the inventory and binds mInventoryInfo to it; a failure leaves that alone. Returns the
/// status of the search.
EFI_STATUS LocateInventory ();

/// Finds the first device of the inventory that an error of this class belongs to, and sends the
/// BMC one event about it. Class is an enum ErrorClass. Record stays the caller's. An error that
/// no device takes, or for which there is no pool, is dropped after its log lines.
VOID FindRedFishId (UINT8 Class, const ErrorRecord *Record);

/// Sends one event to the BMC, once. Size is that of the request in bytes, at most 153; Request
/// stays the caller's. The answer is logged and nothing follows from it.
VOID SendRedfishEvent (UINTN Size, const RequestData *Request);
}

/// The source file that all assertions of the driver proper report.
inline constexpr CHAR8 DriverSourceFile[] = "VelmoraQsmErrorHandler/VelmoraQsmErrorHandler";
