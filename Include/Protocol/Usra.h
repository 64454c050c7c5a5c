/// The USRA protocol: tells where a register of the silicon is mapped.
#pragma once

#include "Record/UsraPcieAddress.h"
#include "Uefi/SystemTable.h"

inline constexpr EFI_GUID gUsraProtocolGuid = {
    0xE3D76BCF, 0xCD68, 0x48FA, {0xA5, 0x5F, 0xD9, 0xE4, 0x9D, 0xFB, 0x38, 0xC4}};

struct UsraProtocol {
  EFI_UNUSED_SERVICE Reserved[3];

  /// Returns where the register can be read with 8 and with 32 bits. The record is the caller's.
  VOID *(EFIAPI *UsraGetAddress) (const UsraPcieAddress *Address);
};
LAYOUT_OFFSET (UsraProtocol, UsraGetAddress, 0x18);
LAYOUT_SIZE (UsraProtocol, 0x20);
