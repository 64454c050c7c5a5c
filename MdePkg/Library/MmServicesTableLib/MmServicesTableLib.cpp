#include "MmServicesTableLib.h"

#include "Protocol/SmmBase2.h"
#include "SmmServicesTableLib.h"

constinit EFI_MM_SYSTEM_TABLE *gMmst = nullptr;

namespace {

constexpr CHAR8 SourceFile[] = "MdePkg/Library/MmServicesTableLib/MmServicesTableLib";
constexpr SourceSite MmBaseLocated = {SourceFile, 47};
constexpr AssertionSite MmBaseNotNull = {SourceFile, 48, "InternalMmBase != ((void *) 0)"};
constexpr AssertionSite MmstNotNull = {SourceFile, 54, "gMmst != ((void *) 0)"};

} // namespace

EFI_STATUS EFIAPI
MmServicesTableLibConstructor (EFI_HANDLE, EFI_SYSTEM_TABLE *SystemTable)
{
  gMmst = GetServicesTable (SystemTable, &gEfiMmBaseProtocolGuid, MmBaseLocated, MmBaseNotNull);
  ASSERT (gMmst != nullptr, MmstNotNull);
  return EFI_SUCCESS;
}
