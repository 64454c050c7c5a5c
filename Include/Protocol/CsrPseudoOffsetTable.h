/// The protocol whose interface is the platform's table of CSR pseudo-offsets, a closed record.
#pragma once

#include "Base.h"

inline constexpr EFI_GUID gCsrPseudoOffsetTableProtocolGuid = {
    0xB5ABF7DC, 0xFD44, 0x45C5, {0xAB, 0x5A, 0x0F, 0xE5, 0x0F, 0xB4, 0x84, 0xF9}};
