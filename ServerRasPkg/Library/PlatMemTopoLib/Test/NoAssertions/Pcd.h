/// The settings of a build without assertions.
#pragma once

#define PcdDebugPropertyMask ShippedPcdDebugPropertyMask
#include "../Include/Pcd.h"
#undef PcdDebugPropertyMask

inline constexpr UINT8 PcdDebugPropertyMask = 0x2E;
