/// The SMM access protocol, which knows the SMRAM of the machine (PI 1.8, volume 4,
/// EFI_MM_ACCESS_PROTOCOL).
#pragma once

#include "Uefi/SmramDescriptor.h"
#include "Uefi/SystemTable.h"

inline constexpr EFI_GUID gEfiSmmAccess2ProtocolGuid = {
    0xC2702B74, 0x800C, 0x4131, {0x87, 0x46, 0x8F, 0xB5, 0xB8, 0x9C, 0xE4, 0xAC}};

struct EFI_SMM_ACCESS2_PROTOCOL {
  EFI_UNUSED_SERVICE Open;
  EFI_UNUSED_SERVICE Close;
  EFI_UNUSED_SERVICE Lock;

  /// Fills SmramMap, which has room for *SmramMapSize bytes, and sets that to the map's size. A
  /// buffer that is too small gives EFI_BUFFER_TOO_SMALL and the size alone.
  EFI_STATUS (EFIAPI *GetCapabilities)
  (const EFI_SMM_ACCESS2_PROTOCOL *This, UINTN *SmramMapSize, EFI_SMRAM_DESCRIPTOR *SmramMap);

  BOOLEAN LockState;
  BOOLEAN OpenState;
};
LAYOUT_OFFSET (EFI_SMM_ACCESS2_PROTOCOL, GetCapabilities, 0x18);
LAYOUT_OFFSET (EFI_SMM_ACCESS2_PROTOCOL, LockState, 0x20);
LAYOUT_OFFSET (EFI_SMM_ACCESS2_PROTOCOL, OpenState, 0x21);
