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

constexpr ServiceName Boot = "the firmware has no boot service ";
constexpr ServiceName Runtime = "the firmware has no runtime service ";

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

constinit EFI_BOOT_SERVICES mBootServices = {
    .Hdr = Header (BootServicesSignature, sizeof (EFI_BOOT_SERVICES)),
    .RaiseTPL = UNPROVIDED (Boot, RaiseTPL),
    .RestoreTPL = UNPROVIDED (Boot, RestoreTPL),
    .AllocatePages = UNPROVIDED (Boot, AllocatePages),
    .FreePages = UNPROVIDED (Boot, FreePages),
    .GetMemoryMap = UNPROVIDED (Boot, GetMemoryMap),
    .AllocatePool = AllocatePool,
    .FreePool = FreePool,
    .CreateEvent = UNPROVIDED (Boot, CreateEvent),
    .SetTimer = UNPROVIDED (Boot, SetTimer),
    .WaitForEvent = UNPROVIDED (Boot, WaitForEvent),
    .SignalEvent = UNPROVIDED (Boot, SignalEvent),
    .CloseEvent = UNPROVIDED (Boot, CloseEvent),
    .CheckEvent = UNPROVIDED (Boot, CheckEvent),
    .InstallProtocolInterface = UNPROVIDED (Boot, InstallProtocolInterface),
    .ReinstallProtocolInterface = UNPROVIDED (Boot, ReinstallProtocolInterface),
    .UninstallProtocolInterface = UNPROVIDED (Boot, UninstallProtocolInterface),
    .HandleProtocol = HandleProtocol,
    .Reserved = nullptr,
    .RegisterProtocolNotify = UNPROVIDED (Boot, RegisterProtocolNotify),
    .LocateHandle = UNPROVIDED (Boot, LocateHandle),
    .LocateDevicePath = UNPROVIDED (Boot, LocateDevicePath),
    .InstallConfigurationTable = UNPROVIDED (Boot, InstallConfigurationTable),
    .LoadImage = UNPROVIDED (Boot, LoadImage),
    .StartImage = UNPROVIDED (Boot, StartImage),
    .Exit = UNPROVIDED (Boot, Exit),
    .UnloadImage = UNPROVIDED (Boot, UnloadImage),
    .ExitBootServices = UNPROVIDED (Boot, ExitBootServices),
    .GetNextMonotonicCount = UNPROVIDED (Boot, GetNextMonotonicCount),
    .Stall = UNPROVIDED (Boot, Stall),
    .SetWatchdogTimer = UNPROVIDED (Boot, SetWatchdogTimer),
    .ConnectController = UNPROVIDED (Boot, ConnectController),
    .DisconnectController = UNPROVIDED (Boot, DisconnectController),
    .OpenProtocol = UNPROVIDED (Boot, OpenProtocol),
    .CloseProtocol = UNPROVIDED (Boot, CloseProtocol),
    .OpenProtocolInformation = UNPROVIDED (Boot, OpenProtocolInformation),
    .ProtocolsPerHandle = UNPROVIDED (Boot, ProtocolsPerHandle),
    .LocateHandleBuffer = UNPROVIDED (Boot, LocateHandleBuffer),
    .LocateProtocol = LocateProtocol,
    .InstallMultipleProtocolInterfaces = UNPROVIDED (Boot, InstallMultipleProtocolInterfaces),
    .UninstallMultipleProtocolInterfaces = UNPROVIDED (Boot, UninstallMultipleProtocolInterfaces),
    .CalculateCrc32 = UNPROVIDED (Boot, CalculateCrc32),
    .CopyMem = UNPROVIDED (Boot, CopyMem),
    .SetMem = UNPROVIDED (Boot, SetMem),
    .CreateEventEx = UNPROVIDED (Boot, CreateEventEx),
};

constinit EFI_RUNTIME_SERVICES mRuntimeServices = {
    .Hdr = Header (RuntimeServicesSignature, sizeof (EFI_RUNTIME_SERVICES)),
    .Services = {UNPROVIDED (Runtime, GetTime), UNPROVIDED (Runtime, SetTime),
                 UNPROVIDED (Runtime, GetWakeupTime), UNPROVIDED (Runtime, SetWakeupTime),
                 UNPROVIDED (Runtime, SetVirtualAddressMap), UNPROVIDED (Runtime, ConvertPointer),
                 UNPROVIDED (Runtime, GetVariable), UNPROVIDED (Runtime, GetNextVariableName),
                 UNPROVIDED (Runtime, SetVariable), UNPROVIDED (Runtime, GetNextHighMonotonicCount),
                 UNPROVIDED (Runtime, ResetSystem), UNPROVIDED (Runtime, UpdateCapsule),
                 UNPROVIDED (Runtime, QueryCapsuleCapabilities),
                 UNPROVIDED (Runtime, QueryVariableInfo)},
};

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
