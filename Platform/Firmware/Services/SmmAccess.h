/// SMRAM, as its map shows it.
#pragma once

#include "Protocol/SmmAccess2.h"

inline constexpr UINTN SmramRangeCount = 3;

extern "C" {

/// The map: the SMM core's own range, and two that hold all that the SMM pool gives out.
extern EFI_SMRAM_DESCRIPTOR gSmramMap[SmramRangeCount];

extern EFI_SMM_ACCESS2_PROTOCOL gSmmAccess;

/// Fills the map and installs the protocol with the boot services. A call with another This is a
/// fault.
VOID SmmAccessReset ();
}
