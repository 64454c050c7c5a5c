/// Binds the SMM services table, and locates SMM protocols by it.
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
                                         const AssertionSite &Located,
                                         const AssertionSite &InterfaceNotNull);

/// Locates an SMM protocol, without a registration. *Interface is null after a failure, whatever
/// the service left in it. Returns the service's status, or EFI_UNSUPPORTED while gSmst is null.
[[nodiscard]] EFI_STATUS LocateSmmProtocol (const EFI_GUID *Guid, VOID **Interface);

/// The whole of a library constructor that binds one SMM protocol: as LocateSmmProtocol, but
/// asserts TableNotNull while gSmst is null, and Located on the service's status.
[[nodiscard]] EFI_STATUS BindSmmProtocol (const EFI_GUID *Guid,
                                          const AssertionSite &TableNotNull,
                                          const AssertionSite &Located,
                                          VOID **Interface);

/// Makes the firmware call Function when the protocol is installed, until the registration is given
/// back through gSmst. *Registration is null after a failure, whatever the service left in it.
/// Returns the service's status, or EFI_UNSUPPORTED while gSmst is null.
[[nodiscard]] EFI_STATUS
RegisterSmmNotify (const EFI_GUID *Protocol, EFI_SMM_NOTIFY_FN Function, VOID **Registration);
}
