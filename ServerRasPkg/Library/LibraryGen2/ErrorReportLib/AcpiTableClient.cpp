#include "AcpiTableClient.h"

#include "Protocol/AcpiTable.h"
#include "ProtocolLib.h"
#include "RasDebugLib.h"

namespace {

/// The protocol's interface; null unless bound. It belongs to its producer.
constinit VOID *mAcpiTableProtocol = nullptr;

} // namespace

EFI_STATUS EFIAPI
AcpiTableClientConstructor (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  const EFI_STATUS Status = LocateBootProtocol (&gEfiAcpiTableProtocolGuid, &mAcpiTableProtocol);
  if (EFI_ERROR (Status)) {
    RasDebugPrint (RAS_DEBUG_FAILURE, "[WHEAINIT] Fail to locate gEfiAcpiTableProtocolGuid: %r \n",
                   Status);
  }
  return EFI_SUCCESS;
}
