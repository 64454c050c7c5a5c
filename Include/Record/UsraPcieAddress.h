/// A register of PCI configuration space, as the USRA protocol is asked for it.
#pragma once

#include "Base.h"

struct [[gnu::packed]] UsraPcieAddress {
  UINT32 Location; ///< Made by PcieLocation.
  UINT32 Segment;  ///< Number of the PCI segment group.
  UINT32 Reserved[2];
};
LAYOUT_OFFSET (UsraPcieAddress, Segment, 4);
LAYOUT_OFFSET (UsraPcieAddress, Reserved, 8);
LAYOUT_SIZE (UsraPcieAddress, 16);

/// Place of a register in the configuration space of one segment, as PCI Express maps it (PCI
/// Express Base 6.0, 7.2.2): bus in bits 27 to 20, device in bits 19 to 15, function in bits 14 to
/// 12, offset below. What is too large for its bits is cut.
constexpr UINT32
PcieLocation (UINT8 Bus, UINT8 Device, UINT8 Function, UINT32 Offset)
{
  return static_cast<UINT32> (Bus) << 20 | (Device & 0x1FU) << 15 | (Function & 0x7U) << 12 |
         (Offset & 0xFFF);
}
