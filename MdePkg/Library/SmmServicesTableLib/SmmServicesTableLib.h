/// Binds the SMM services table.
#pragma once

#include "SmmDebugServiceLib.h"
#include "Uefi/SmmSystemTable.h"

extern "C" {

/// The SMM services table. Null until the constructor has run, read-only from then on; the table
/// belongs to the firmware.
extern EFI_SMM_SYSTEM_TABLE2 *gSmst;

/// Fills gSmst by way of the SMM base protocol. Always returns EFI_SUCCESS: a failure shows in the
/// assertions alone, and gSmst then stays null.
EFI_STATUS EFIAPI SmmServicesTableLibConstructor (EFI_HANDLE ImageHandle,
                                                  EFI_SYSTEM_TABLE *SystemTable);

/// Asks the base protocol of the given name for the services table, for this library and for its
/// twin under the newer name. Asserts Located on the status of the search and InterfaceNotNull on
/// what it found. Returns the table, which belongs to the firmware, or null.
EFI_SMM_SYSTEM_TABLE2 *GetServicesTable (EFI_SYSTEM_TABLE *SystemTable,
                                         const EFI_GUID *BaseProtocolGuid,
                                         const SourceSite &Located,
                                         const AssertionSite &InterfaceNotNull);
}
