/// The USRA protocol: knows where the chipset maps the configuration space of each PCI segment.
#pragma once

#include "Protocol/Usra.h"

inline constexpr UINTN PciSegmentMax = 4;
inline constexpr UINT64 PciSegmentSize = 0x10000000;

/// Where a segment's configuration space starts.
constexpr UINT64
PciSegmentBase (UINTN Segment)
{
  return 0x80000000 + Segment * PciSegmentSize;
}

extern "C" {

extern UsraProtocol gUsra;

/// Installs the protocol. A segment that the machine does not have, and a record with bits set that
/// mean nothing, are faults.
VOID UsraReset ();
}
