#include "BootServices.h"

#include "Pool.h"
#include "ProtocolDatabase.h"
#include "UnprovidedService.h"

/// A driver only keeps the table's address (UEFI 2.10, 4.5).
struct EFI_RUNTIME_SERVICES {
  EFI_TABLE_HEADER Hdr;
  EFI_UNUSED_SERVICE Services[14];
};

constinit EFI_SYSTEM_TABLE gSystemTable = {};

namespace {

constexpr UINT64 SystemTableSignature = 0x5453595320494249;     // "IBI SYST"
constexpr UINT64 BootServicesSignature = 0x56524553544F4F42;    // "BOOTSERV"
constexpr UINT64 RuntimeServicesSignature = 0x56524553544E5552; // "RUNTSERV"
constexpr UINT32 TableRevision = 2 << 16 | 100;                 // UEFI 2.10

/// Whether SmmReadyToLock has ended the boot services.
constinit bool mClosed = false;

VOID
RequireBootServices ()
{
  if (mClosed) {
    FirmwareFault ("a boot service was called after SmmReadyToLock");
  }
}

EFI_STATUS EFIAPI
AllocatePool (EFI_MEMORY_TYPE PoolType, UINTN Size, VOID **Buffer)
{
  RequireBootServices ();
  return PoolAllocate (PoolBoot, PoolType, Size, Buffer);
}

EFI_STATUS EFIAPI
FreePool (VOID *Buffer)
{
  RequireBootServices ();
  return PoolFree (PoolBoot, Buffer);
}

EFI_STATUS EFIAPI
HandleProtocol (EFI_HANDLE Handle, const EFI_GUID *Protocol, VOID **Interface)
{
  RequireBootServices ();
  return ProtocolOnHandle (Handle, Protocol, Interface);
}

EFI_STATUS EFIAPI
LocateProtocol (const EFI_GUID *Protocol, VOID *Registration, VOID **Interface)
{
  RequireBootServices ();
  if (Registration != nullptr) {
    FirmwareFault ("the firmware has no LocateProtocol by registration");
  }
  return ProtocolLocate (ProtocolBoot, Protocol, Interface);
}

constexpr EFI_TABLE_HEADER
Header (UINT64 Signature, UINT32 Size)
{
  return {.Signature = Signature,
          .Revision = TableRevision,
          .HeaderSize = Size,
          .CRC32 = 0,
          .Reserved = 0};
}

#define UNPROVIDED(Entry) UnprovidedService<"the firmware has no boot service " #Entry>

constinit EFI_BOOT_SERVICES mBootServices = {
    .Hdr = Header (BootServicesSignature, sizeof (EFI_BOOT_SERVICES)),
    .RaiseTPL = UNPROVIDED (RaiseTPL),
    .RestoreTPL = UNPROVIDED (RestoreTPL),
    .AllocatePages = UNPROVIDED (AllocatePages),
    .FreePages = UNPROVIDED (FreePages),
    .GetMemoryMap = UNPROVIDED (GetMemoryMap),
    .AllocatePool = AllocatePool,
    .FreePool = FreePool,
    .CreateEvent = UNPROVIDED (CreateEvent),
    .SetTimer = UNPROVIDED (SetTimer),
    .WaitForEvent = UNPROVIDED (WaitForEvent),
    .SignalEvent = UNPROVIDED (SignalEvent),
    .CloseEvent = UNPROVIDED (CloseEvent),
    .CheckEvent = UNPROVIDED (CheckEvent),
    .InstallProtocolInterface = UNPROVIDED (InstallProtocolInterface),
    .ReinstallProtocolInterface = UNPROVIDED (ReinstallProtocolInterface),
    .UninstallProtocolInterface = UNPROVIDED (UninstallProtocolInterface),
    .HandleProtocol = HandleProtocol,
    .Reserved = nullptr,
    .RegisterProtocolNotify = UNPROVIDED (RegisterProtocolNotify),
    .LocateHandle = UNPROVIDED (LocateHandle),
    .LocateDevicePath = UNPROVIDED (LocateDevicePath),
    .InstallConfigurationTable = UNPROVIDED (InstallConfigurationTable),
    .LoadImage = UNPROVIDED (LoadImage),
    .StartImage = UNPROVIDED (StartImage),
    .Exit = UNPROVIDED (Exit),
    .UnloadImage = UNPROVIDED (UnloadImage),
    .ExitBootServices = UNPROVIDED (ExitBootServices),
    .GetNextMonotonicCount = UNPROVIDED (GetNextMonotonicCount),
    .Stall = UNPROVIDED (Stall),
    .SetWatchdogTimer = UNPROVIDED (SetWatchdogTimer),
    .ConnectController = UNPROVIDED (ConnectController),
    .DisconnectController = UNPROVIDED (DisconnectController),
    .OpenProtocol = UNPROVIDED (OpenProtocol),
    .CloseProtocol = UNPROVIDED (CloseProtocol),
    .OpenProtocolInformation = UNPROVIDED (OpenProtocolInformation),
    .ProtocolsPerHandle = UNPROVIDED (ProtocolsPerHandle),
    .LocateHandleBuffer = UNPROVIDED (LocateHandleBuffer),
    .LocateProtocol = LocateProtocol,
    .InstallMultipleProtocolInterfaces = UNPROVIDED (InstallMultipleProtocolInterfaces),
    .UninstallMultipleProtocolInterfaces = UNPROVIDED (UninstallMultipleProtocolInterfaces),
    .CalculateCrc32 = UNPROVIDED (CalculateCrc32),
    .CopyMem = UNPROVIDED (CopyMem),
    .SetMem = UNPROVIDED (SetMem),
    .CreateEventEx = UNPROVIDED (CreateEventEx),
};

#undef UNPROVIDED
#define UNPROVIDED(Entry) UnprovidedService<"the firmware has no runtime service " #Entry>

constinit EFI_RUNTIME_SERVICES mRuntimeServices = {
    .Hdr = Header (RuntimeServicesSignature, sizeof (EFI_RUNTIME_SERVICES)),
    .Services = {UNPROVIDED (GetTime), UNPROVIDED (SetTime), UNPROVIDED (GetWakeupTime),
                 UNPROVIDED (SetWakeupTime), UNPROVIDED (SetVirtualAddressMap),
                 UNPROVIDED (ConvertPointer), UNPROVIDED (GetVariable),
                 UNPROVIDED (GetNextVariableName), UNPROVIDED (SetVariable),
                 UNPROVIDED (GetNextHighMonotonicCount), UNPROVIDED (ResetSystem),
                 UNPROVIDED (UpdateCapsule), UNPROVIDED (QueryCapsuleCapabilities),
                 UNPROVIDED (QueryVariableInfo)},
};

#undef UNPROVIDED

} // namespace

VOID
BootServicesReset ()
{
  mClosed = false;
  gSystemTable = {
      .Hdr = Header (SystemTableSignature, sizeof (EFI_SYSTEM_TABLE)),
      .FirmwareVendor = nullptr,
      .FirmwareRevision = 0,
      .Reserved = 0,
      .ConsoleInHandle = nullptr,
      .ConIn = nullptr,
      .ConsoleOutHandle = nullptr,
      .ConOut = nullptr,
      .StandardErrorHandle = nullptr,
      .StdErr = nullptr,
      .RuntimeServices = &mRuntimeServices,
      .BootServices = &mBootServices,
      .NumberOfTableEntries = 0,
      .ConfigurationTable = nullptr,
  };
}

VOID
BootServicesClose ()
{
  mClosed = true;
}
