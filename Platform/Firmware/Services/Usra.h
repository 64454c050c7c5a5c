/// The USRA protocol: knows where the chipset maps the configuration space of each PCI segment.
#pragma once

#include "Protocol/Usra.h"

inline constexpr UINT64 PciSegmentSize = 0x10000000;

extern "C" {

extern UsraProtocol gUsra;

/// Installs the protocol. A segment that the machine does not have, and a record with bits set that
/// mean nothing, are faults.
VOID UsraReset ();
}
