/// EFI_SMM_BASE2_PROTOCOL, which leads to the SMM services table (PI 1.8, volume 4).
#pragma once

#include "Uefi/SmmSystemTable.h"

inline constexpr EFI_GUID gEfiSmmBase2ProtocolGuid = {
    0xF4CCBFB7, 0xF6E0, 0x47FD, {0x9D, 0xD4, 0x10, 0xA8, 0xF1, 0x50, 0xC1, 0x91}};

/// PI 1.5 renamed the protocol and kept its GUID.
inline constexpr EFI_GUID gEfiMmBaseProtocolGuid = gEfiSmmBase2ProtocolGuid;

struct EFI_SMM_BASE2_PROTOCOL {
  EFI_UNUSED_SERVICE InSmm;
  EFI_STATUS (EFIAPI *GetSmstLocation)
  (const EFI_SMM_BASE2_PROTOCOL *This, EFI_SMM_SYSTEM_TABLE2 **Smst);
};
LAYOUT_OFFSET (EFI_SMM_BASE2_PROTOCOL, GetSmstLocation, 8);
