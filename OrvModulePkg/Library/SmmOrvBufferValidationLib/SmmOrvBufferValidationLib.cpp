#include "SmmOrvBufferValidationLib.h"

#include "Protocol/OrvBufferValidation.h"
#include "ProtocolLib.h"
#include "SmmDebugServiceLib.h"

namespace {

constexpr SourceSite ProtocolLocated = {
    "OrvModulePkg/Library/SmmOrvBufferValidationLib/SmmOrvBufferValidationLib", 38};

/// The protocol's interface; null unless bound. It belongs to its producer.
constinit VOID *mOrvBufferValidation = nullptr;

} // namespace

EFI_STATUS EFIAPI
SmmOrvBufferValidationLibConstructor (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  const EFI_STATUS Status =
      LocateSmmProtocol (&gOrvBufferValidationProtocolGuid, &mOrvBufferValidation);
  ASSERT_EFI_ERROR (Status, ProtocolLocated);
  return Status;
}
