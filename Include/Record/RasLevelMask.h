/// The mask that selects the lines of the RAS debug log: data of a GUID HOB.
#pragma once

#include "Base.h"

inline constexpr EFI_GUID gRasLevelMaskHobGuid = {
    0x0105944D, 0x499F, 0x4950, {0xB4, 0x42, 0x51, 0x99, 0xC0, 0xE7, 0x01, 0x5F}};

struct [[gnu::packed]] RasLevelMask {
  UINT32 Levels; ///< A line goes out if it has one of these levels.
};
LAYOUT_SIZE (RasLevelMask, 4);
