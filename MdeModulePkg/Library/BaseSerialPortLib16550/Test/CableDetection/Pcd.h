/// The settings of a port with deep FIFOs, at a rate whose divisor is rounded up, that sends only
/// while the other side is there and clear.
#pragma once

#define PcdSerialUseHardwareFlowControl ShippedPcdSerialUseHardwareFlowControl
#define PcdSerialDetectCable            ShippedPcdSerialDetectCable
#define PcdSerialFifoControl            ShippedPcdSerialFifoControl
#define PcdSerialBaudRate               ShippedPcdSerialBaudRate
#include "../Include/Pcd.h"
#undef PcdSerialUseHardwareFlowControl
#undef PcdSerialDetectCable
#undef PcdSerialFifoControl
#undef PcdSerialBaudRate

inline constexpr BOOLEAN PcdSerialUseHardwareFlowControl = TRUE;
inline constexpr BOOLEAN PcdSerialDetectCable = TRUE;
inline constexpr UINT8 PcdSerialFifoControl = 0x21;
inline constexpr UINT32 PcdSerialBaudRate = 134;
