/// The SMM services table (PI 1.8, volume 4, 3).
///
/// Every entry stands at its published place. Entries that neither the driver nor the stand-in
/// firmware uses are typed EFI_UNUSED_SERVICE.
#pragma once

#include "Uefi/SystemTable.h"

enum EFI_INTERFACE_TYPE : UINT32 {
  EFI_NATIVE_INTERFACE = 0,
};

/// Called when a protocol that it was registered for is installed (PI 1.8, volume 4, 3.8).
using EFI_SMM_NOTIFY_FN = EFI_STATUS (EFIAPI *) (const EFI_GUID *Protocol,
                                                 VOID *Interface,
                                                 EFI_HANDLE Handle);

using EFI_SMM_INSTALL_PROTOCOL_INTERFACE = EFI_STATUS (EFIAPI *) (EFI_HANDLE *Handle,
                                                                  const EFI_GUID *Protocol,
                                                                  EFI_INTERFACE_TYPE InterfaceType,
                                                                  VOID *Interface);

/// Registers Function for a protocol; a null Function removes the registration that Registration
/// holds.
using EFI_SMM_REGISTER_PROTOCOL_NOTIFY = EFI_STATUS (EFIAPI *) (const EFI_GUID *Protocol,
                                                                EFI_SMM_NOTIFY_FN Function,
                                                                VOID **Registration);

struct EFI_SMM_SYSTEM_TABLE2 {
  EFI_TABLE_HEADER Hdr;
  CHAR16 *SmmFirmwareVendor;
  UINT32 SmmFirmwareRevision;
  UINT32 Reserved;
  EFI_UNUSED_SERVICE SmmInstallConfigurationTable;
  EFI_UNUSED_SERVICE SmmIo[4];
  EFI_ALLOCATE_POOL SmmAllocatePool;
  EFI_FREE_POOL SmmFreePool;
  EFI_UNUSED_SERVICE SmmAllocatePages;
  EFI_UNUSED_SERVICE SmmFreePages;
  EFI_UNUSED_SERVICE SmmStartupThisAp;
  UINTN CurrentlyExecutingCpu;
  UINTN NumberOfCpus;
  UINTN *CpuSaveStateSize;
  VOID **CpuSaveState;
  UINTN NumberOfTableEntries;
  EFI_CONFIGURATION_TABLE *SmmConfigurationTable;
  EFI_SMM_INSTALL_PROTOCOL_INTERFACE SmmInstallProtocolInterface;
  EFI_UNUSED_SERVICE SmmUninstallProtocolInterface;
  EFI_UNUSED_SERVICE SmmHandleProtocol;
  EFI_SMM_REGISTER_PROTOCOL_NOTIFY SmmRegisterProtocolNotify;
  EFI_UNUSED_SERVICE SmmLocateHandle;
  EFI_LOCATE_PROTOCOL SmmLocateProtocol;
  EFI_UNUSED_SERVICE SmiManage;
  EFI_UNUSED_SERVICE SmiHandlerRegister;
  EFI_UNUSED_SERVICE SmiHandlerUnRegister;
};
LAYOUT_OFFSET (EFI_SMM_SYSTEM_TABLE2, SmmAllocatePool, 0x50);
LAYOUT_OFFSET (EFI_SMM_SYSTEM_TABLE2, SmmFreePool, 0x58);
LAYOUT_OFFSET (EFI_SMM_SYSTEM_TABLE2, NumberOfTableEntries, 0x98);
LAYOUT_OFFSET (EFI_SMM_SYSTEM_TABLE2, SmmConfigurationTable, 0xA0);
LAYOUT_OFFSET (EFI_SMM_SYSTEM_TABLE2, SmmInstallProtocolInterface, 0xA8);
LAYOUT_OFFSET (EFI_SMM_SYSTEM_TABLE2, SmmRegisterProtocolNotify, 0xC0);
LAYOUT_OFFSET (EFI_SMM_SYSTEM_TABLE2, SmmLocateProtocol, 0xD0);
LAYOUT_SIZE (EFI_SMM_SYSTEM_TABLE2, 0xF0);

/// The same table under the name that PI 1.5 gave it.
using EFI_MM_SYSTEM_TABLE = EFI_SMM_SYSTEM_TABLE2;
