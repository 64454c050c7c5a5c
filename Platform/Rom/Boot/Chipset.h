/// The chipset (Intel 82Q35 MCH and ICH9): windows, SMI sources and the lock of SMRAM.
#pragma once

#include "Base.h"

extern "C" {

/// Opens the PCI Express window and the power management registers, and lets the SMI of port 0xB2
/// through.
VOID ChipsetOpen ();

/// Makes TSEG SMRAM, to which only a processor in SMM gets, and locks that.
VOID ChipsetLockTseg ();
}
