/// EFI_SMM_VARIABLE_PROTOCOL: the variable services for callers in SMM. The services are those of
/// the runtime services table (UEFI 2.10, 8.2).
#pragma once

#include "Uefi/SystemTable.h"

inline constexpr EFI_GUID gEfiSmmVariableProtocolGuid = {
    0xED32D533, 0x99E6, 0x4209, {0x9C, 0xC0, 0x2D, 0x72, 0xCD, 0xD9, 0x98, 0xA7}};

/// Attributes of a variable.
inline constexpr UINT32 EFI_VARIABLE_NON_VOLATILE = 0x00000001;
inline constexpr UINT32 EFI_VARIABLE_BOOTSERVICE_ACCESS = 0x00000002;
inline constexpr UINT32 EFI_VARIABLE_RUNTIME_ACCESS = 0x00000004;

struct EFI_SMM_VARIABLE_PROTOCOL {
  /// Reads a variable. *DataSize holds the bytes that Data has room for and receives the size of
  /// the value. Attributes may be null. Fails with EFI_NOT_FOUND, and with EFI_BUFFER_TOO_SMALL.
  EFI_STATUS (EFIAPI *SmmGetVariable)
  (const CHAR16 *VariableName,
   const EFI_GUID *VendorGuid,
   UINT32 *Attributes,
   UINTN *DataSize,
   VOID *Data);
  EFI_UNUSED_SERVICE SmmGetNextVariableName;

  /// Creates or replaces a variable of DataSize bytes; 0 bytes delete it. Fails with
  /// EFI_WRITE_PROTECTED for a variable that is locked.
  EFI_STATUS (EFIAPI *SmmSetVariable)
  (const CHAR16 *VariableName,
   const EFI_GUID *VendorGuid,
   UINT32 Attributes,
   UINTN DataSize,
   const VOID *Data);
  EFI_UNUSED_SERVICE SmmQueryVariableInfo;
};
LAYOUT_OFFSET (EFI_SMM_VARIABLE_PROTOCOL, SmmGetVariable, 0x00);
LAYOUT_OFFSET (EFI_SMM_VARIABLE_PROTOCOL, SmmSetVariable, 0x10);
LAYOUT_SIZE (EFI_SMM_VARIABLE_PROTOCOL, 0x20);
