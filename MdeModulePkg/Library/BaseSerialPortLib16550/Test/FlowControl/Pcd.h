/// The settings of a port without FIFOs, at a rate whose divisor is rounded down, that obeys the
/// other side, if there is one.
#pragma once

#define PcdSerialUseHardwareFlowControl ShippedPcdSerialUseHardwareFlowControl
#define PcdSerialBaudRate               ShippedPcdSerialBaudRate
#define PcdSerialFifoControl            ShippedPcdSerialFifoControl
#include "../Include/Pcd.h"
#undef PcdSerialUseHardwareFlowControl
#undef PcdSerialBaudRate
#undef PcdSerialFifoControl

inline constexpr BOOLEAN PcdSerialUseHardwareFlowControl = TRUE;
inline constexpr UINT8 PcdSerialFifoControl = 0x20;
inline constexpr UINT32 PcdSerialBaudRate = 110;
