#include "UefiBootServicesTableLib.h"

#include "SmmDebugServiceLib.h"

constinit EFI_HANDLE gImageHandle = nullptr;
constinit EFI_SYSTEM_TABLE *gST = nullptr;
constinit EFI_BOOT_SERVICES *gBS = nullptr;

namespace {

constexpr CHAR8 SourceFile[] = "MdePkg/Library/UefiBootServicesTableLib/UefiBootServicesTableLib";
constexpr AssertionSite ImageHandleNotNull = {SourceFile, 44, "gImageHandle != ((void *) 0)"};
constexpr AssertionSite SystemTableNotNull = {SourceFile, 50, "gST != ((void *) 0)"};
constexpr AssertionSite BootServicesNotNull = {SourceFile, 56, "gBS != ((void *) 0)"};

} // namespace

EFI_STATUS EFIAPI
UefiBootServicesTableLibConstructor (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable)
{
  gImageHandle = ImageHandle;
  ASSERT (gImageHandle != nullptr, ImageHandleNotNull);

  gST = SystemTable;
  ASSERT (gST != nullptr, SystemTableNotNull);

  gBS = SystemTable != nullptr ? SystemTable->BootServices : nullptr;
  ASSERT (gBS != nullptr, BootServicesNotNull);
  return EFI_SUCCESS;
}
