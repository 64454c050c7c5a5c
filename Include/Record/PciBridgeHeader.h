/// The head of a PCI-to-PCI bridge's configuration space (PCI-to-PCI Bridge Architecture 1.2, 3.2).
#pragma once

#include "Base.h"

struct [[gnu::packed]] PciBridgeHeader {
  UINT16 VendorId; ///< With DeviceId all ones where there is no function.
  UINT16 DeviceId;
  UINT8 Reserved0[10];
  UINT8 HeaderType; ///< Layout of the header, and PCI_HEADER_MULTI_FUNCTION.
  UINT8 Reserved1[9];
  UINT8 PrimaryBus;
  UINT8 SecondaryBus;
  UINT8 SubordinateBus;
};
LAYOUT_OFFSET (PciBridgeHeader, VendorId, 0x00);
LAYOUT_OFFSET (PciBridgeHeader, DeviceId, 0x02);
LAYOUT_OFFSET (PciBridgeHeader, HeaderType, 0x0E);
LAYOUT_OFFSET (PciBridgeHeader, PrimaryBus, 0x18);
LAYOUT_OFFSET (PciBridgeHeader, SecondaryBus, 0x19);
LAYOUT_OFFSET (PciBridgeHeader, SubordinateBus, 0x1A);

/// The bit of HeaderType that is not part of the layout, and the layout of a bridge.
inline constexpr UINT8 PCI_HEADER_MULTI_FUNCTION = 0x80;
inline constexpr UINT8 PCI_HEADER_LAYOUT_BRIDGE = 0x01;
