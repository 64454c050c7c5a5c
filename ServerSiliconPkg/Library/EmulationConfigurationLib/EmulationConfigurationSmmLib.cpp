#include "EmulationConfigurationLib.h"

#include "Protocol/EmulationConfiguration.h"
#include "ProtocolLib.h"

constinit const VOID *mEmulationConfig = nullptr;

namespace {

constexpr CHAR8 SourceFile[] =
    "ServerSiliconPkg/Library/EmulationConfigurationLib/EmulationConfigurationSmmLib";
constexpr AssertionSite TableNotNull = {SourceFile, 298, UnreachableAssertionText};
constexpr SourceSite ProtocolLocated = {SourceFile, 307};

} // namespace

EFI_STATUS EFIAPI
EmulationConfigurationLibConstructor (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  VOID *Interface = nullptr;
  const EFI_STATUS Status = BindSmmProtocol (&gEmulationConfigurationProtocolGuid, TableNotNull,
                                             ProtocolLocated, &Interface);
  mEmulationConfig = Interface;
  return Status;
}
