/// The mask of the RAS debug log, as the platform sets it.
#pragma once

#include "Base.h"

extern "C" {

/// Returns the mask. Finds it out with the first call: from the HOB that has it, or else from CMOS,
/// and then leaves it in a HOB for all drivers behind this one. A mask of all ones reads as not yet
/// found out, and is looked up with each call.
UINT32 GetRasLevelMask ();
}
