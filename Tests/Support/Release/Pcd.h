/// The settings of a build that asserts nothing and runs no debug-only code; messages are made.
#pragma once

#define PcdDebugPropertyMask ShippedPcdDebugPropertyMask
#include "../Include/Pcd.h"
#undef PcdDebugPropertyMask

inline constexpr UINT8 PcdDebugPropertyMask = 0x2A;
