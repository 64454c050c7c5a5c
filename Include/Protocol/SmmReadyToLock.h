/// The SmmReadyToLock protocol: its installation, without an interface, says that no more drivers
/// will be loaded and that SMM drivers may no longer use the boot services (PI 1.8, volume 4).
#pragma once

#include "Base.h"

inline constexpr EFI_GUID gEfiSmmReadyToLockProtocolGuid = {
    0x47B7FA8C, 0xF4BD, 0x4AF6, {0x82, 0x00, 0x33, 0x30, 0x86, 0xF0, 0xD2, 0xC8}};
