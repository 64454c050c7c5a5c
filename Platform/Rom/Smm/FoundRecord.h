/// What the boot code found, as SMM knows it.
#pragma once

#include "HandOver.h"

extern "C" {

/// In SMRAM.
extern HandOver gFound;

/// Copies what the boot code found. A record that is not sound ends the run.
VOID TakeFoundRecord ();
}
