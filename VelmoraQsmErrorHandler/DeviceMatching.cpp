#include "VelmoraQsmErrorHandler.h"

#include "BaseLib.h"
#include "BaseMemoryLibOptDxe.h"
#include "ErrorClassRules.h"
#include "ProtocolLib.h"
#include "SmmServicesTableLib.h"

constinit const InventoryInfo *mInventoryInfo = nullptr;

namespace {

constexpr CHAR8 FunctionName[] = "FindRedFishId";
constexpr SourceSite InventoryLocated = {DriverSourceFile, 102};

/// Returns the inventory, locating it if it is not bound yet; null after the failure is reported.
const InventoryInfo *
BoundInventory ()
{
  const InventoryInfo *Inventory = __atomic_load_n (&mInventoryInfo, __ATOMIC_RELAXED);
  if (Inventory != nullptr) {
    return Inventory;
  }

  const EFI_STATUS Status = LocateInventory ();
  if (EFI_ERROR (Status)) {
    ASSERT_EFI_ERROR (Status, InventoryLocated);
    DEBUG (DEBUG_ERROR, "gOrvSmmSystemInventoryInfoProtocolGuid Protocol Status: %r\n", Status);
    return nullptr;
  }
  return __atomic_load_n (&mInventoryInfo, __ATOMIC_RELAXED);
}

/// The severity of the event that a record gives in a class.
EventSeverity
DecideSeverity (const ErrorClassRules *Rules, const ErrorRecord *Record)
{
  const UINT32 ErrorSeverity = Record->Header.ErrorSeverity;
  return Rules->Severity[ErrorSeverity < CperSeverityInformational ? ErrorSeverity
                                                                   : CperSeverityInformational];
}

/// Walks the inventory to the first device for which the error ends in an event, and stores the
/// event's severity. Returns null when there is none.
const InventoryDevice *
FindDevice (const InventoryInfo *Inventory,
            const ErrorClassRules *Rules,
            const ErrorRecord *Record,
            EventSeverity *Severity)
{
  for (UINT64 Index = 0; Index < Inventory->DeviceCount; ++Index) {
    const InventoryDevice *Device = Inventory->DeviceList[Index];
    if (Device->DeviceType != Rules->Class || !Rules->Matches (Device, Record)) {
      continue;
    }
    *Severity = DecideSeverity (Rules, Record);
    if (*Severity != EventSeverityNone) {
      return Device;
    }
  }
  return nullptr;
}

/// Logs the find and puts the device's id into a zeroed buffer of REDFISH_ID_SIZE_MAX bytes as "%a"
/// prints it there: cut to leave the last byte NUL, and a text of its own for a null pointer.
VOID
ComposeRedfishId (const ErrorClassRules *Rules,
                  const InventoryDevice *Device,
                  EventSeverity Severity,
                  CHAR8 *RedfishIdBuffer)
{
  const EventMessages &Messages =
      Severity == EventSeverityWarning ? Rules->Warning : Rules->Critical;
  const CHAR8 *RedfishId = Rules->RedfishId (Device);
  if (Messages.Found != nullptr) {
    DEBUG (DEBUG_INFO, Messages.Found, RedfishId);
  }
  const CHAR8 *Text = RedfishId != nullptr ? RedfishId : "<null string>";
  (void)CopyMem (RedfishIdBuffer, Text, AsciiStrnLenS (Text, REDFISH_ID_SIZE_MAX - 1));
  if (Messages.Device != nullptr) {
    DEBUG (DEBUG_INFO, Messages.Device);
  }
  DEBUG (DEBUG_INFO, Messages.Command, RedfishIdBuffer);
}

/// Lays the event out and sends it.
VOID
SendEvent (ErrorClass Class, EventSeverity Severity, const CHAR8 *RedfishId)
{
  const UINTN RedfishIdLength = AsciiStrSize (RedfishId);
  RequestData Request;
  Request.Reserved = 0;
  Request.ErrorClass = Class;
  Request.EventSeverity = Severity;
  (void)CopyMem (Request.InstanceId, RedfishId, RedfishIdLength);
  SendRedfishEvent (offsetof (RequestData, InstanceId) + RedfishIdLength, &Request);
}

/// Reports one device to the BMC. Returns the status of the pool: that of releasing the buffer, or
/// of the allocation that gave none, in which case nothing was sent.
EFI_STATUS
ReportDevice (const ErrorClassRules *Rules, const InventoryDevice *Device, EventSeverity Severity)
{
  VOID *Pool = nullptr;
  const EFI_STATUS Status = gSmst->SmmAllocatePool (Rules->PoolType, REDFISH_ID_SIZE_MAX, &Pool);
  if (Rules->PoolAllocated != nullptr) {
    ASSERT_EFI_ERROR (Status, *Rules->PoolAllocated);
  }
  if (EFI_ERROR (Status)) {
    return Status;
  }
  if (Pool == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }

  auto *RedfishIdBuffer = static_cast<CHAR8 *> (ZeroMem (Pool, REDFISH_ID_SIZE_MAX));
  ComposeRedfishId (Rules, Device, Severity, RedfishIdBuffer);
  DEBUG (DEBUG_INFO, "DeviceFound FLAG: %d\n", 1);
  SendEvent (Rules->Class, Severity, RedfishIdBuffer);
  return gSmst->SmmFreePool (RedfishIdBuffer);
}

} // namespace

EFI_STATUS
LocateInventory ()
{
  VOID *Interface = nullptr;
  const EFI_STATUS Status = LocateSmmProtocol (&gOrvSmmSystemInventoryInfoProtocolGuid, &Interface);
  if (!EFI_ERROR (Status)) {
    __atomic_store_n (&mInventoryInfo, static_cast<const InventoryInfo *> (Interface),
                      __ATOMIC_RELAXED);
  }
  return Status;
}

VOID
FindRedFishId (UINT8 Class, const ErrorRecord *Record)
{
  DEBUG (DEBUG_INFO, "%a() Entry\n", FunctionName);

  const InventoryInfo *Inventory = BoundInventory ();
  if (Inventory == nullptr) {
    return;
  }
  // The list is read on the strength of this flag, so not before it.
  if (__atomic_load_n (&Inventory->DataReady, __ATOMIC_ACQUIRE) == 0) {
    DEBUG (DEBUG_INFO, "[System Inventory Information] Protocol Data NOT Ready yet\n");
    return;
  }

  EventSeverity Severity = EventSeverityNone;
  const ErrorClassRules *Rules = FindErrorClassRules (Class);
  const InventoryDevice *Device =
      Rules != nullptr ? FindDevice (Inventory, Rules, Record, &Severity) : nullptr;
  if (Device == nullptr) {
    DEBUG (DEBUG_INFO, "Device is not Found Flag: %d\n", 0);
    DEBUG (DEBUG_INFO, "%a() Exiting - Device Not Found\n", FunctionName);
    return;
  }

  const EFI_STATUS Status = ReportDevice (Rules, Device, Severity);
  DEBUG (DEBUG_INFO, "%a() Exiting - Status: %r\n", FunctionName, Status);
}
