/// The SMM protocol for checking buffers. Its operations are closed: it is only ever located.
#pragma once

#include "Base.h"

inline constexpr EFI_GUID gOrvBufferValidationProtocolGuid = {
    0xDA473D7F, 0x4B31, 0x4D63, {0x92, 0xB7, 0x3D, 0x90, 0x5E, 0xF8, 0x4B, 0x84}};
