/// Locates protocols of both databases, and has the firmware tell of an SMM protocol's arrival.
///
/// A search here has no registration, and an interface found is the firmware's. *Interface is null
/// after a failure, whatever the service left in it. The status is the service's, or
/// EFI_UNSUPPORTED while the services table is null.
#pragma once

#include "SmmDebugServiceLib.h"
#include "Uefi/SmmSystemTable.h"

/// The status of a search that gave this interface: a success without one is EFI_NOT_FOUND.
constexpr EFI_STATUS
SearchStatus (EFI_STATUS Status, const VOID *Interface)
{
  return !EFI_ERROR (Status) && Interface == nullptr ? EFI_NOT_FOUND : Status;
}

extern "C" {

/// Searches by the boot services, or by those of SMM. For who reports a success without an
/// interface by an assertion of its own; all others locate.
[[nodiscard]] EFI_STATUS SearchBootProtocol (const EFI_GUID *Guid, VOID **Interface);
[[nodiscard]] EFI_STATUS SearchSmmProtocol (const EFI_GUID *Guid, VOID **Interface);

/// The same search, whose status is that of SearchStatus: after a success there is an interface.
[[nodiscard]] EFI_STATUS LocateBootProtocol (const EFI_GUID *Guid, VOID **Interface);
[[nodiscard]] EFI_STATUS LocateSmmProtocol (const EFI_GUID *Guid, VOID **Interface);

/// The whole of a library constructor that binds one SMM protocol: as LocateSmmProtocol, but
/// asserts TableNotNull while gSmst is null and Located on the status, and returns EFI_SUCCESS for
/// a warning.
[[nodiscard]] EFI_STATUS BindSmmProtocol (const EFI_GUID *Guid,
                                          const AssertionSite &TableNotNull,
                                          const SourceSite &Located,
                                          VOID **Interface);

/// Makes the firmware call Function when the protocol is installed, until the registration is given
/// back. *Registration is null after a failure, whatever the service left in it. Returns the
/// service's status, or EFI_UNSUPPORTED while gSmst is null.
[[nodiscard]] EFI_STATUS
RegisterSmmNotify (const EFI_GUID *Protocol, EFI_SMM_NOTIFY_FN Function, VOID **Registration);

/// Gives a registration back, if there is one. Returns the service's status, and EFI_SUCCESS if
/// there is none. *Registration is null after a success; after a failure the firmware still calls.
[[nodiscard]] EFI_STATUS UnregisterSmmNotify (const EFI_GUID *Protocol, VOID **Registration);
}
