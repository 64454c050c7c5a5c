/// The topology of the machine in the firmware's hand-off records.
#pragma once

#include "Base.h"

extern "C" {

/// Replaces the standard topology by what the boot code found: a socket for each package of the
/// processors, and the root ports, which are all of socket 0 in segment 0.
VOID UseFoundTopology ();
}
