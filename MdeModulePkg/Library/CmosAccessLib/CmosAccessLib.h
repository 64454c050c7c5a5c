/// The CMOS RAM behind the real-time clock, and the NMI mask that shares its index port.
///
/// Each read is a sequence on shared ports that nothing protects against another processor.
#pragma once

#include "Base.h"

extern "C" {

/// The NMI mask, bit 7 of port 0x70: 1 while non-maskable interrupts are masked, else 0. For the
/// time of the read the chipset makes the mask readable.
UINT8 ReadNmiMaskBit ();

/// The byte at Index and, as the high byte, the one behind it. Index 0xFF is followed by 0x00. The
/// NMI mask stays as it is.
UINT16 CmosRead16 (UINT8 Index);
}
