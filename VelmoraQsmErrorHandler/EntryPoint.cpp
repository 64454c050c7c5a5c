#include "VelmoraQsmErrorHandler.h"

#include "ErrorReportLib.h"
#include "ProtocolLib.h"

constinit SmmIpmiTransportProtocol *mIpmiTransport = nullptr;

namespace {

constexpr SourceSite InventoryLocated = {DriverSourceFile, 377};
constexpr SourceSite IpmiTransportLocated = {DriverSourceFile, 386};
constexpr SourceSite ListenerRegistered = {DriverSourceFile, 395};

} // namespace

EFI_STATUS EFIAPI
QsmErrorHandlerEntryPoint (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  DEBUG (DEBUG_INFO, "Inside ORVQsmErrorHandler EntryPoint\n");

  EFI_STATUS Status = LocateInventory ();
  if (EFI_ERROR (Status)) {
    ASSERT_EFI_ERROR (Status, InventoryLocated);
    return Status;
  }

  VOID *Interface = nullptr;
  Status = LocateSmmProtocol (&gSmmIpmiTransportProtocolGuid, &Interface);
  if (EFI_ERROR (Status)) {
    ASSERT_EFI_ERROR (Status, IpmiTransportLocated);
    return Status;
  }
  mIpmiTransport = static_cast<SmmIpmiTransportProtocol *> (Interface);

  Status = RegisterErrorLogListener (QsmLogErrorWrapper);
  DEBUG (DEBUG_INFO, "RegisterErrorListener (QsmLogErrorWrapper ) Status: %r \n", Status);
  ASSERT_EFI_ERROR (Status, ListenerRegistered);
  return Status;
}
