/// Builds the shared table of the platform's PCI Express root ports and I/O stacks out of what the
/// earlier boot phases have left. The first driver of a boot builds it.
///
/// Nothing here takes a lock: all of it runs while drivers are loaded or in the notification of
/// SmmReadyToLock, on the one processor that dispatches SMM drivers.
#pragma once

#include "Uefi/SystemTable.h"

extern "C" {

/// Library constructor: finds the store, or makes and builds it and registers
/// IioTopologyReadyToLockNotify for SmmReadyToLock. Ignores its arguments. Returns
/// EFI_OUT_OF_RESOURCES without a store, or the status of the step that failed. A store that could
/// not be built stays all zeros for the rest of the boot.
EFI_STATUS EFIAPI IioTopologyLibConstructor (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

/// Takes the registration of the constructor back, if there is one. To be called before the driver
/// goes away.
VOID IioTopologyLibWithdraw ();

/// Fills a new store, which is all zeros, and dumps it. Without a policy HOB, which is a
/// RAS_ASSERT, or without UPI host data, which is an assertion, the store stays as it is and the
/// result is EFI_NOT_FOUND. Without the system information record the fields that come from it stay
/// zero.
[[nodiscard]] EFI_STATUS InitializeIioTopology ();

/// Writes the store to the RAS debug log.
VOID DumpIioTopology ();

/// The notification of SmmReadyToLock: fills in the bus numbers behind the bridges, which only
/// exist after PCI enumeration. A port without a device, or with one that is no bridge, stays as it
/// is. Ignores its arguments. Returns EFI_NOT_FOUND without a store.
EFI_STATUS EFIAPI
IioTopologyReadyToLockNotify (const EFI_GUID *Protocol, VOID *Interface, EFI_HANDLE Handle);
}
