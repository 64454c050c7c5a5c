/// Gives memory and I/O addresses to PCI functions and opens the windows of bridges for them.
#pragma once

#include "PciRegisters.h"

/// The next addresses that are free.
struct PciSpace {
  UINT32 Memory;
  UINT32 Io;
};

/// Base address registers of the two kinds of function.
inline constexpr UINTN PciBarsOfDevice = 6;
inline constexpr UINTN PciBarsOfBridge = 2;

extern "C" {

/// Gives each of the first BarCount base address registers that exists its addresses. All go below
/// 4 GiB. Running out of them ends the run.
VOID AssignPciBars (const PciPlace &Of, UINTN BarCount, PciSpace *Space);

/// Moves Space to where a window of a bridge can begin, or end.
VOID AlignPciWindow (PciSpace *Space);

/// Opens a bridge's windows from Start to End, both aligned. An empty window stays closed.
VOID SetPciWindow (const PciPlace &Bridge, const PciSpace &Start, const PciSpace &End);
}
