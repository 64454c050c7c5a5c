/// The largest platform that the records have room for.
#pragma once

#include "Base.h"

inline constexpr UINTN SOCKET_MAX = 4;

/// Per socket: integrated I/O stacks, those of them that can be CXL, and PCI Express root ports.
inline constexpr UINTN IIO_STACK_MAX = 12;
inline constexpr UINTN CXL_STACK_MAX = 8;
inline constexpr UINTN IIO_PORT_MAX = 57;
