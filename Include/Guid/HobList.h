/// The name under which the configuration tables lead to the HOB list (PI 1.8, volume 2,
/// EFI_HOB_LIST_GUID).
#pragma once

#include "Base.h"

inline constexpr EFI_GUID gEfiHobListGuid = {
    0x7739F24C, 0x93D7, 0x11D4, {0x9A, 0x3A, 0x00, 0x90, 0x27, 0x3F, 0xC1, 0x4D}};
