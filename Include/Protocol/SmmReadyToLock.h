/// The SmmReadyToLock protocol: its installation, without an interface, says that no more drivers
/// will be loaded and that the boot services are about to end (PI 1.8, volume 4, 5.6).
#pragma once

#include "Base.h"

inline constexpr EFI_GUID gEfiSmmReadyToLockProtocolGuid = {
    0x47B7FA8C, 0xF4BD, 0x4AF6, {0x82, 0x00, 0x33, 0x30, 0x86, 0xF0, 0xD2, 0xC8}};
