#include "SmmServices.h"

#include "FaultPlan.h"
#include "Pool.h"
#include "Protocol/SmmBase2.h"
#include "ProtocolDatabase.h"
#include "UnprovidedService.h"

constinit EFI_SMM_SYSTEM_TABLE2 gSmmSystemTable = {};

namespace {

constexpr ServiceName Smm = "the firmware has no SMM service ";

constexpr UINT64 SmstSignature = 0x54534D53; // "SMST"
constexpr UINT32 SmstRevision = 0x10050;     // PI 1.8

constinit EFI_SMM_BASE2_PROTOCOL mSmmBase2 = {};

EFI_STATUS EFIAPI
AllocatePool (EFI_MEMORY_TYPE PoolType, UINTN Size, VOID **Buffer)
{
  return PoolAllocate (PoolSmm, PoolType, Size, Buffer);
}

EFI_STATUS EFIAPI
FreePool (VOID *Buffer)
{
  return PoolFree (PoolSmm, Buffer);
}

EFI_STATUS EFIAPI
InstallProtocolInterface (EFI_HANDLE *Handle,
                          const EFI_GUID *Protocol,
                          EFI_INTERFACE_TYPE InterfaceType,
                          VOID *Interface)
{
  if (InterfaceType != EFI_NATIVE_INTERFACE) {
    return EFI_INVALID_PARAMETER;
  }
  return ProtocolInstall (Handle, Protocol, Interface);
}

EFI_STATUS EFIAPI
RegisterProtocolNotify (const EFI_GUID *Protocol, EFI_SMM_NOTIFY_FN Function, VOID **Registration)
{
  return ProtocolNotify (Protocol, Function, Registration);
}

EFI_STATUS EFIAPI
LocateProtocol (const EFI_GUID *Protocol, VOID *Registration, VOID **Interface)
{
  if (Registration != nullptr) {
    FirmwareFault ("the firmware has no SmmLocateProtocol by registration");
  }
  return ProtocolLocate (ProtocolSmm, Protocol, Interface);
}

EFI_STATUS EFIAPI
GetSmstLocation (const EFI_SMM_BASE2_PROTOCOL *This, EFI_SMM_SYSTEM_TABLE2 **Smst)
{
  if (This != &mSmmBase2) {
    FirmwareFault ("GetSmstLocation of an unknown interface");
  }
  const EFI_STATUS Planned = FaultPlanCount (ServiceGetSmstLocation);
  if (!EFI_ERROR (Planned)) {
    *Smst = &gSmmSystemTable;
  }
  return Planned;
}

} // namespace

VOID
SmmServicesReset ()
{
  gSmmSystemTable = {
      .Hdr = {.Signature = SmstSignature,
              .Revision = SmstRevision,
              .HeaderSize = sizeof (EFI_SMM_SYSTEM_TABLE2),
              .CRC32 = 0,
              .Reserved = 0},
      .SmmFirmwareVendor = nullptr,
      .SmmFirmwareRevision = 0,
      .Reserved = 0,
      .SmmInstallConfigurationTable = UNPROVIDED (Smm, SmmInstallConfigurationTable),
      .SmmIo = {UNPROVIDED (Smm, SmmIo.Mem.Read), UNPROVIDED (Smm, SmmIo.Mem.Write),
                UNPROVIDED (Smm, SmmIo.Io.Read), UNPROVIDED (Smm, SmmIo.Io.Write)},
      .SmmAllocatePool = AllocatePool,
      .SmmFreePool = FreePool,
      .SmmAllocatePages = UNPROVIDED (Smm, SmmAllocatePages),
      .SmmFreePages = UNPROVIDED (Smm, SmmFreePages),
      .SmmStartupThisAp = UNPROVIDED (Smm, SmmStartupThisAp),
      .CurrentlyExecutingCpu = 0,
      .NumberOfCpus = gWorld.NumberOfProcessors,
      .CpuSaveStateSize = nullptr,
      .CpuSaveState = nullptr,
      .NumberOfTableEntries = 0,
      .SmmConfigurationTable = nullptr,
      .SmmInstallProtocolInterface = InstallProtocolInterface,
      .SmmUninstallProtocolInterface = UNPROVIDED (Smm, SmmUninstallProtocolInterface),
      .SmmHandleProtocol = UNPROVIDED (Smm, SmmHandleProtocol),
      .SmmRegisterProtocolNotify = RegisterProtocolNotify,
      .SmmLocateHandle = UNPROVIDED (Smm, SmmLocateHandle),
      .SmmLocateProtocol = LocateProtocol,
      .SmiManage = UNPROVIDED (Smm, SmiManage),
      .SmiHandlerRegister = UNPROVIDED (Smm, SmiHandlerRegister),
      .SmiHandlerUnRegister = UNPROVIDED (Smm, SmiHandlerUnRegister),
  };
  mSmmBase2 = {.InSmm = UNPROVIDED (Smm, EFI_SMM_BASE2_PROTOCOL.InSmm),
               .GetSmstLocation = GetSmstLocation};
  ProtocolPublish (ProtocolBoot, &gEfiSmmBase2ProtocolGuid, &mSmmBase2);
}
