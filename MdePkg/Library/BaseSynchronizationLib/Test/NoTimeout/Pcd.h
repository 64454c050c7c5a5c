/// The settings with a spin lock that never times out.
#pragma once

#define PcdSpinLockTimeout ShippedPcdSpinLockTimeout
#include "../Include/Pcd.h"
#undef PcdSpinLockTimeout

inline constexpr UINT32 PcdSpinLockTimeout = 0;
