#include "UefiRuntimeServicesTableLib.h"

#include "SmmDebugServiceLib.h"

constinit EFI_RUNTIME_SERVICES *gRT = nullptr;

namespace {

constexpr AssertionSite RuntimeServicesNotNull = {
    "MdePkg/Library/UefiRuntimeServicesTableLib/UefiRuntimeServicesTableLib", 41,
    "gRT != ((void *) 0)"};

} // namespace

EFI_STATUS EFIAPI
UefiRuntimeServicesTableLibConstructor (EFI_HANDLE, EFI_SYSTEM_TABLE *SystemTable)
{
  gRT = SystemTable != nullptr ? SystemTable->RuntimeServices : nullptr;
  ASSERT (gRT != nullptr, RuntimeServicesNotNull);
  return EFI_SUCCESS;
}
