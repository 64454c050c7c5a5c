/// Turns the pointers that earlier boot phases have left into a table that is safe to use in SMM,
/// and publishes it for all SMM drivers. The first driver of a boot builds the table.
///
/// Nothing here takes a lock: all of it runs while drivers are loaded or in the notification of
/// SmmReadyToLock, on the one processor that dispatches SMM drivers.
#pragma once

#include "Record/StaticPointerTable.h"
#include "Uefi/SmmSystemTable.h"

extern "C" {

/// The shared table; null until bound. It belongs to no driver and is never freed.
extern StaticPointerTable *mPrivate;

/// Library constructor: binds the table or builds it, and registers SanitizeStaticPointers for
/// SmmReadyToLock. Ignores its arguments. Returns the status of the step that failed, each of which
/// is reported by a message and an assertion.
EFI_STATUS EFIAPI SmmSysHostPointerLibProtocolConstructor (EFI_HANDLE ImageHandle,
                                                           EFI_SYSTEM_TABLE *SystemTable);

/// Library destructor: takes the registration back and leaves the table to the other drivers.
/// Ignores its arguments. Returns the service's status, a failure of which is reported by a message
/// and an assertion.
EFI_STATUS EFIAPI SmmSysHostPointerLibProtocolDestructor (EFI_HANDLE ImageHandle,
                                                          EFI_SYSTEM_TABLE *SystemTable);

/// Builds the table in mPrivate and installs it as a protocol. A block with the known signature is
/// copied into SMM pool; without room for the copy its slot stays empty. Without a HOB, which is
/// asserted, all slots are empty. Returns the status of the step that failed; if that is the last
/// one, mPrivate keeps the table all the same.
[[nodiscard]] EFI_STATUS InitializeStaticPointers ();

/// Asks the SMM access protocol for the SMRAM map. *Ranges is a pool buffer, which the caller
/// frees, with *Count descriptors; nothing is left allocated after a failure. Returns the
/// protocol's status, EFI_BAD_BUFFER_SIZE if it gives no size, or EFI_OUT_OF_RESOURCES; each
/// failure is reported by a message and an assertion.
[[nodiscard]] EFI_STATUS GetSmramRanges (EFI_SMRAM_DESCRIPTOR **Ranges, UINTN *Count);

/// The notification of SmmReadyToLock: empties every slot that leads outside SMRAM, unless another
/// driver's notification has done so. Ignores its arguments. Returns EFI_INVALID_PARAMETER without
/// a table, which is asserted.
EFI_STATUS EFIAPI
SanitizeStaticPointers (const EFI_GUID *Protocol, VOID *Interface, EFI_HANDLE Handle);

/// Whether an address lies in one of the SMRAM ranges of the table, which has to be bound.
BOOLEAN IsPointerInSmram (UINT64 Pointer);
}
