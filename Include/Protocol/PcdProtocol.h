/// The PCD protocol: settings of the platform, which are read by their token.
#pragma once

#include "Uefi/SystemTable.h"

inline constexpr EFI_GUID gPcdProtocolGuid = {
    0x11B34006, 0xD85B, 0x4D0A, {0xA2, 0x90, 0xD5, 0xA5, 0x71, 0x31, 0x0E, 0xF7}};

/// The protocol goes on behind its fifth member.
struct PcdProtocol {
  EFI_UNUSED_SERVICE Reserved[4];
  UINT64 (EFIAPI *Get64) (UINTN TokenNumber);
};
LAYOUT_OFFSET (PcdProtocol, Get64, 0x20);
