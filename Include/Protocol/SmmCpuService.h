/// EFI_SMM_CPU_SERVICE_PROTOCOL: the processors of the machine, as SMM numbers them.
#pragma once

#include "Uefi/SystemTable.h"

inline constexpr EFI_GUID gEfiSmmCpuServiceProtocolGuid = {
    0x1D202CAB, 0xC8AB, 0x4D5C, {0x94, 0xF7, 0x3C, 0xFC, 0xC0, 0xD3, 0xD3, 0x35}};

/// Where a processor sits, each number counted from 0 within the one before.
struct EFI_CPU_PHYSICAL_LOCATION {
  UINT32 Package;
  UINT32 Core;
  UINT32 Thread;
};

/// One logical processor (PI 1.8, volume 2, 13.4). Services of revisions before 1.7 fill all but
/// ExtendedInformation.
struct EFI_PROCESSOR_INFORMATION {
  UINT64 ProcessorId; ///< The APIC id.
  UINT32 StatusFlag;
  EFI_CPU_PHYSICAL_LOCATION Location;
  UINT32 ExtendedInformation[6];
};
LAYOUT_OFFSET (EFI_PROCESSOR_INFORMATION, StatusFlag, 0x08);
LAYOUT_OFFSET (EFI_PROCESSOR_INFORMATION, Location, 0x0C);
LAYOUT_OFFSET (EFI_PROCESSOR_INFORMATION, ExtendedInformation, 0x18);
LAYOUT_SIZE (EFI_PROCESSOR_INFORMATION, 0x30);

struct EFI_SMM_CPU_SERVICE_PROTOCOL {
  /// Fails with EFI_NOT_FOUND for an unknown processor.
  EFI_STATUS (EFIAPI *GetProcessorInfo)
  (const EFI_SMM_CPU_SERVICE_PROTOCOL *This,
   UINTN ProcessorNumber,
   EFI_PROCESSOR_INFORMATION *ProcessorInfoBuffer);
  EFI_UNUSED_SERVICE SwitchBsp;
  EFI_UNUSED_SERVICE AddProcessor;
  EFI_UNUSED_SERVICE RemoveProcessor;

  /// The number of the processor that calls.
  EFI_STATUS (EFIAPI *WhoAmI)
  (const EFI_SMM_CPU_SERVICE_PROTOCOL *This, UINTN *ProcessorNumber);
  EFI_UNUSED_SERVICE RegisterExceptionHandler;
};
LAYOUT_OFFSET (EFI_SMM_CPU_SERVICE_PROTOCOL, GetProcessorInfo, 0x00);
LAYOUT_OFFSET (EFI_SMM_CPU_SERVICE_PROTOCOL, WhoAmI, 0x20);
LAYOUT_SIZE (EFI_SMM_CPU_SERVICE_PROTOCOL, 0x30);
