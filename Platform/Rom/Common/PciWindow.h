/// Configuration space through the memory-mapped window of segment 0.
#pragma once

#include "Machine.h"
#include "MemoryMap.h"

/// Address of a register; Offset is below 4096.
constexpr UINTN
PciRegister (UINTN Bus, UINTN Device, UINTN Function, UINTN Offset)
{
  return PCI_WINDOW_BASE + (Bus << 20 | Device << 15 | Function << 12 | Offset);
}
