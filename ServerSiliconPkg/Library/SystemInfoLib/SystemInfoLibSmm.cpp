#include "SystemInfoLib.h"

#include "ProtocolLib.h"

constinit const SystemInfoRecord *mSystemInfoRecord = nullptr;

namespace {

constexpr CHAR8 SourceFile[] = "ServerSiliconPkg/Library/SystemInfoLib/SystemInfoLibSmm";
constexpr AssertionSite TableNotNull = {SourceFile, 117, UnreachableAssertionText};
constexpr SourceSite ProtocolLocated = {SourceFile, 126};

} // namespace

EFI_STATUS EFIAPI
SystemInfoLibConstructor (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  VOID *Interface = nullptr;
  const EFI_STATUS Status =
      BindSmmProtocol (&gSystemInfoProtocolGuid, TableNotNull, ProtocolLocated, &Interface);
  mSystemInfoRecord = static_cast<const SystemInfoRecord *> (Interface);
  return Status;
}
