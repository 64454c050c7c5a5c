/// Place of a PCI function.
#pragma once

#include "Base.h"

struct PciPlace {
  UINT16 Segment;
  UINT8 Bus;
  UINT8 Device;
  UINT8 Function;
};
