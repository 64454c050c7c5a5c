/// The two protocol databases: that of SMM and that of the boot services.
#pragma once

#include "Uefi/SmmSystemTable.h"

/// Which database.
enum ProtocolSpace : UINT8 {
  ProtocolSmm,
  ProtocolBoot,
};
inline constexpr UINTN ProtocolSpaceCount = 2;

inline constexpr UINTN ProtocolMax = 64;
inline constexpr UINTN HandleMax = 64;
inline constexpr UINTN NotificationMax = 64;

extern "C" {

VOID ProtocolDatabaseReset ();

/// Installs an interface, which may be null, on a new handle: how the platform brings a protocol.
/// In SMM calls the notifications registered for it. Returns the handle.
EFI_HANDLE ProtocolPublish (ProtocolSpace Space, const EFI_GUID *Protocol, VOID *Interface);

/// Takes every interface of a protocol off, as on a platform that does not have it.
VOID ProtocolRemove (ProtocolSpace Space, const EFI_GUID *Protocol);

/// Number of notifications that stand registered, for all protocols.
UINTN ProtocolNotificationCount ();

/// The service of SMM (PI 1.8, volume 4, 3.7): installs an interface, which may be null, on *Handle
/// or on a new handle when that is null, then calls the notifications registered for the protocol.
/// Fails with EFI_INVALID_PARAMETER for an unknown handle and for one that has the protocol.
EFI_STATUS ProtocolInstall (EFI_HANDLE *Handle, const EFI_GUID *Protocol, VOID *Interface);

/// The service of SMM (PI 1.8, volume 4, 3.8): registers Function for the protocol, or with a null
/// Function removes the registration in *Registration and fails with EFI_NOT_FOUND if there is
/// none. Registering the same pair again gives the same registration.
EFI_STATUS
ProtocolNotify (const EFI_GUID *Protocol, EFI_SMM_NOTIFY_FN Function, VOID **Registration);

/// The service of each database: finds the interface that was installed first. Fails with
/// EFI_NOT_FOUND.
EFI_STATUS ProtocolLocate (ProtocolSpace Space, const EFI_GUID *Protocol, VOID **Interface);

/// The service of the boot services: finds the interface on one handle. Fails with
/// EFI_UNSUPPORTED. An unknown handle is a fault.
EFI_STATUS ProtocolOnHandle (EFI_HANDLE Handle, const EFI_GUID *Protocol, VOID **Interface);
}
