/// The settings of a machine without a serial port.
#pragma once

#define PcdSerialRegisterBase ShippedPcdSerialRegisterBase
#include "../Include/Pcd.h"
#undef PcdSerialRegisterBase

inline constexpr UINT16 PcdSerialRegisterBase = 0;
