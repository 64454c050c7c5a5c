/// UEFI service tables (UEFI 2.10, 4.2 to 4.5 and 7).
///
/// Every entry stands at its published place. Entries that neither the driver nor the stand-in
/// firmware uses are typed EFI_UNUSED_SERVICE.
#pragma once

#include "Base.h"

using EFI_UNUSED_SERVICE = VOID (EFIAPI *) ();

struct EFI_TABLE_HEADER {
  UINT64 Signature;
  UINT32 Revision;
  UINT32 HeaderSize;
  UINT32 CRC32;
  UINT32 Reserved;
};
LAYOUT_OFFSET (EFI_TABLE_HEADER, Revision, 8);
LAYOUT_SIZE (EFI_TABLE_HEADER, 24);

enum EFI_MEMORY_TYPE : UINT32 {
  EfiReservedMemoryType = 0,
  EfiLoaderCode = 1,
  EfiLoaderData = 2,
  EfiBootServicesCode = 3,
  EfiBootServicesData = 4,
  EfiRuntimeServicesCode = 5,
  EfiRuntimeServicesData = 6,
};

struct EFI_CONFIGURATION_TABLE {
  EFI_GUID VendorGuid;
  VOID *VendorTable;
};
LAYOUT_OFFSET (EFI_CONFIGURATION_TABLE, VendorTable, 16);
LAYOUT_SIZE (EFI_CONFIGURATION_TABLE, 24);

/// Allocates Size bytes of pool of the given type (UEFI 2.10, 7.2.4).
using EFI_ALLOCATE_POOL = EFI_STATUS (EFIAPI *) (EFI_MEMORY_TYPE PoolType,
                                                 UINTN Size,
                                                 VOID **Buffer);

/// Frees what the allocation of the same table gave (UEFI 2.10, 7.2.5).
using EFI_FREE_POOL = EFI_STATUS (EFIAPI *) (VOID *Buffer);

using EFI_HANDLE_PROTOCOL = EFI_STATUS (EFIAPI *) (EFI_HANDLE Handle,
                                                   const EFI_GUID *Protocol,
                                                   VOID **Interface);

using EFI_LOCATE_PROTOCOL = EFI_STATUS (EFIAPI *) (const EFI_GUID *Protocol,
                                                   VOID *Registration,
                                                   VOID **Interface);

struct EFI_BOOT_SERVICES {
  EFI_TABLE_HEADER Hdr;
  EFI_UNUSED_SERVICE RaiseTPL;
  EFI_UNUSED_SERVICE RestoreTPL;
  EFI_UNUSED_SERVICE AllocatePages;
  EFI_UNUSED_SERVICE FreePages;
  EFI_UNUSED_SERVICE GetMemoryMap;
  EFI_ALLOCATE_POOL AllocatePool;
  EFI_FREE_POOL FreePool;
  EFI_UNUSED_SERVICE CreateEvent;
  EFI_UNUSED_SERVICE SetTimer;
  EFI_UNUSED_SERVICE WaitForEvent;
  EFI_UNUSED_SERVICE SignalEvent;
  EFI_UNUSED_SERVICE CloseEvent;
  EFI_UNUSED_SERVICE CheckEvent;
  EFI_UNUSED_SERVICE InstallProtocolInterface;
  EFI_UNUSED_SERVICE ReinstallProtocolInterface;
  EFI_UNUSED_SERVICE UninstallProtocolInterface;
  EFI_HANDLE_PROTOCOL HandleProtocol;
  VOID *Reserved;
  EFI_UNUSED_SERVICE RegisterProtocolNotify;
  EFI_UNUSED_SERVICE LocateHandle;
  EFI_UNUSED_SERVICE LocateDevicePath;
  EFI_UNUSED_SERVICE InstallConfigurationTable;
  EFI_UNUSED_SERVICE LoadImage;
  EFI_UNUSED_SERVICE StartImage;
  EFI_UNUSED_SERVICE Exit;
  EFI_UNUSED_SERVICE UnloadImage;
  EFI_UNUSED_SERVICE ExitBootServices;
  EFI_UNUSED_SERVICE GetNextMonotonicCount;
  EFI_UNUSED_SERVICE Stall;
  EFI_UNUSED_SERVICE SetWatchdogTimer;
  EFI_UNUSED_SERVICE ConnectController;
  EFI_UNUSED_SERVICE DisconnectController;
  EFI_UNUSED_SERVICE OpenProtocol;
  EFI_UNUSED_SERVICE CloseProtocol;
  EFI_UNUSED_SERVICE OpenProtocolInformation;
  EFI_UNUSED_SERVICE ProtocolsPerHandle;
  EFI_UNUSED_SERVICE LocateHandleBuffer;
  EFI_LOCATE_PROTOCOL LocateProtocol;
  EFI_UNUSED_SERVICE InstallMultipleProtocolInterfaces;
  EFI_UNUSED_SERVICE UninstallMultipleProtocolInterfaces;
  EFI_UNUSED_SERVICE CalculateCrc32;
  EFI_UNUSED_SERVICE CopyMem;
  EFI_UNUSED_SERVICE SetMem;
  EFI_UNUSED_SERVICE CreateEventEx;
};
LAYOUT_OFFSET (EFI_BOOT_SERVICES, AllocatePool, 0x40);
LAYOUT_OFFSET (EFI_BOOT_SERVICES, FreePool, 0x48);
LAYOUT_OFFSET (EFI_BOOT_SERVICES, HandleProtocol, 0x98);
LAYOUT_OFFSET (EFI_BOOT_SERVICES, LocateProtocol, 0x140);
LAYOUT_SIZE (EFI_BOOT_SERVICES, 0x178);

/// The runtime services table, which is only ever passed on.
struct EFI_RUNTIME_SERVICES;

struct EFI_SYSTEM_TABLE {
  EFI_TABLE_HEADER Hdr;
  CHAR16 *FirmwareVendor;
  UINT32 FirmwareRevision;
  UINT32 Reserved;
  EFI_HANDLE ConsoleInHandle;
  VOID *ConIn;
  EFI_HANDLE ConsoleOutHandle;
  VOID *ConOut;
  EFI_HANDLE StandardErrorHandle;
  VOID *StdErr;
  EFI_RUNTIME_SERVICES *RuntimeServices;
  EFI_BOOT_SERVICES *BootServices;
  UINTN NumberOfTableEntries;
  EFI_CONFIGURATION_TABLE *ConfigurationTable;
};
LAYOUT_OFFSET (EFI_SYSTEM_TABLE, RuntimeServices, 0x58);
LAYOUT_OFFSET (EFI_SYSTEM_TABLE, BootServices, 0x60);
LAYOUT_OFFSET (EFI_SYSTEM_TABLE, NumberOfTableEntries, 0x68);
LAYOUT_OFFSET (EFI_SYSTEM_TABLE, ConfigurationTable, 0x70);
LAYOUT_SIZE (EFI_SYSTEM_TABLE, 0x78);
