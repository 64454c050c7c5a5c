#include "ProtocolDatabase.h"

#include "FaultPlan.h"
#include "FirmwareWorld.h"
#include "Identity.h"

namespace {

struct InstalledProtocol {
  EFI_GUID Guid;
  EFI_HANDLE Handle;
  VOID *Interface;
};

/// One database. Protocols stand in the order of their installation; a handle is the address of its
/// place in Handles.
struct ProtocolTable {
  InstalledProtocol Protocols[ProtocolMax];
  UINTN ProtocolCount;
  UINT8 Handles[HandleMax];
  UINTN HandleCount;
};

/// A registration is the address of its place, which is not used again.
struct Notification {
  EFI_GUID Guid;
  EFI_SMM_NOTIFY_FN Function; ///< Null once removed.
};

/// By ProtocolSpace.
constexpr FirmwareService LocateService[] = {ServiceSmmLocateProtocol, ServiceBootLocateProtocol};

constinit ProtocolTable mTables[ProtocolSpaceCount] = {};
constinit Notification mNotifications[NotificationMax] = {};
constinit UINTN mNotificationCount = 0;

/// Returns the first entry of the protocol, on any handle when Handle is null; or null.
const InstalledProtocol *
FindProtocol (const ProtocolTable *Table, const EFI_GUID &Guid, EFI_HANDLE Handle = nullptr)
{
  for (UINTN Index = 0; Index < Table->ProtocolCount; ++Index) {
    const InstalledProtocol *Entry = &Table->Protocols[Index];
    if (IsSameGuid (Entry->Guid, Guid) && (Handle == nullptr || Entry->Handle == Handle)) {
      return Entry;
    }
  }
  return nullptr;
}

bool
IsKnownHandle (const ProtocolTable *Table, EFI_HANDLE Handle)
{
  for (UINTN Index = 0; Index < Table->HandleCount; ++Index) {
    if (&Table->Handles[Index] == Handle) {
      return true;
    }
  }
  return false;
}

/// Enters a protocol on *Handle, or on a new handle when that is null.
EFI_STATUS
AddProtocol (ProtocolTable *Table, EFI_HANDLE *Handle, const EFI_GUID &Guid, VOID *Interface)
{
  if (Table->HandleCount == HandleMax || Table->ProtocolCount == ProtocolMax) {
    FirmwareFault ("more protocols than the protocol database holds");
  }
  if (*Handle == nullptr) {
    *Handle = &Table->Handles[Table->HandleCount++];
  } else if (!IsKnownHandle (Table, *Handle) || FindProtocol (Table, Guid, *Handle) != nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  InstalledProtocol *Added = &Table->Protocols[Table->ProtocolCount++];
  *Added = {.Guid = Guid, .Handle = *Handle, .Interface = Interface};
  return EFI_SUCCESS;
}

/// Calls the notifications that stand registered now; none says what becomes of their status.
VOID
CallNotifications (const EFI_GUID &Guid, VOID *Interface, EFI_HANDLE Handle)
{
  const UINTN Count = mNotificationCount;
  for (UINTN Index = 0; Index < Count; ++Index) {
    const Notification &Each = mNotifications[Index];
    if (Each.Function != nullptr && IsSameGuid (Each.Guid, Guid)) {
      (void)Each.Function (&Each.Guid, Interface, Handle);
    }
  }
}

Notification *
AddNotification (const EFI_GUID &Guid, EFI_SMM_NOTIFY_FN Function)
{
  for (UINTN Index = 0; Index < mNotificationCount; ++Index) {
    Notification *Each = &mNotifications[Index];
    if (Each->Function == Function && IsSameGuid (Each->Guid, Guid)) {
      return Each;
    }
  }
  if (mNotificationCount == NotificationMax) {
    FirmwareFault ("more notifications than the protocol database holds");
  }
  Notification *Added = &mNotifications[mNotificationCount++];
  *Added = {.Guid = Guid, .Function = Function};
  return Added;
}

EFI_STATUS
RemoveNotification (const EFI_GUID &Guid, const VOID *Registration)
{
  for (Notification &Each : mNotifications) {
    if (&Each == Registration && Each.Function != nullptr && IsSameGuid (Each.Guid, Guid)) {
      Each.Function = nullptr;
      return EFI_SUCCESS;
    }
  }
  return EFI_NOT_FOUND;
}

/// The common part of the services that find an interface.
EFI_STATUS
Find (FirmwareService Service,
      const ProtocolTable *Table,
      EFI_HANDLE Handle,
      const EFI_GUID *Protocol,
      VOID **Interface)
{
  const EFI_STATUS Planned = FaultPlanCount (Service);
  if (Protocol == nullptr || Interface == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *Interface = UndefinedPointer ();
  if (EFI_ERROR (Planned)) {
    return Planned;
  }
  const InstalledProtocol *Entry = FindProtocol (Table, *Protocol, Handle);
  if (Entry == nullptr) {
    return Handle != nullptr ? EFI_UNSUPPORTED : EFI_NOT_FOUND;
  }
  *Interface = Entry->Interface;
  return Planned;
}

} // namespace

VOID
ProtocolDatabaseReset ()
{
  for (ProtocolTable &Table : mTables) {
    Table = {};
  }
  for (Notification &Each : mNotifications) {
    Each = {};
  }
  mNotificationCount = 0;
}

EFI_HANDLE
ProtocolPublish (ProtocolSpace Space, const EFI_GUID *Protocol, VOID *Interface)
{
  EFI_HANDLE Handle = nullptr;
  (void)AddProtocol (&mTables[Space], &Handle, *Protocol, Interface); // A new handle takes any.
  if (Space == ProtocolSmm) {
    CallNotifications (*Protocol, Interface, Handle);
  }
  return Handle;
}

VOID
ProtocolRemove (ProtocolSpace Space, const EFI_GUID *Protocol)
{
  ProtocolTable *Table = &mTables[Space];
  UINTN Kept = 0;
  for (UINTN Index = 0; Index < Table->ProtocolCount; ++Index) {
    if (!IsSameGuid (Table->Protocols[Index].Guid, *Protocol)) {
      Table->Protocols[Kept++] = Table->Protocols[Index];
    }
  }
  Table->ProtocolCount = Kept;
}

UINTN
ProtocolNotificationCount ()
{
  UINTN Count = 0;
  for (const Notification &Each : mNotifications) {
    Count += Each.Function != nullptr ? 1 : 0;
  }
  return Count;
}

EFI_STATUS
ProtocolInstall (EFI_HANDLE *Handle, const EFI_GUID *Protocol, VOID *Interface)
{
  const EFI_STATUS Planned = FaultPlanCount (ServiceSmmInstallProtocol);
  if (EFI_ERROR (Planned)) {
    return Planned;
  }
  if (Handle == nullptr || Protocol == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const EFI_STATUS Status = AddProtocol (&mTables[ProtocolSmm], Handle, *Protocol, Interface);
  if (EFI_ERROR (Status)) {
    return Status;
  }
  CallNotifications (*Protocol, Interface, *Handle);
  return Planned;
}

EFI_STATUS
ProtocolNotify (const EFI_GUID *Protocol, EFI_SMM_NOTIFY_FN Function, VOID **Registration)
{
  const EFI_STATUS Planned = FaultPlanCount (ServiceSmmRegisterNotify);
  if (EFI_ERROR (Planned)) {
    return Planned;
  }
  if (Protocol == nullptr || Registration == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (Function == nullptr) {
    const EFI_STATUS Status = RemoveNotification (*Protocol, *Registration);
    return EFI_ERROR (Status) ? Status : Planned;
  }
  *Registration = AddNotification (*Protocol, Function);
  return Planned;
}

EFI_STATUS
ProtocolLocate (ProtocolSpace Space, const EFI_GUID *Protocol, VOID **Interface)
{
  return Find (LocateService[Space], &mTables[Space], nullptr, Protocol, Interface);
}

EFI_STATUS
ProtocolOnHandle (EFI_HANDLE Handle, const EFI_GUID *Protocol, VOID **Interface)
{
  const ProtocolTable *Table = &mTables[ProtocolBoot];
  if (!IsKnownHandle (Table, Handle)) {
    FirmwareFault ("HandleProtocol of an unknown handle");
  }
  return Find (ServiceBootHandleProtocol, Table, Handle, Protocol, Interface);
}
