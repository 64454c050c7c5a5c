/// The emulated machine as the world of the stand-in firmware.
#pragma once

#include "FirmwareWorld.h"
#include "HandOver.h"

extern "C" {

/// What the boot code found, in SMRAM.
extern HandOver gFound;

/// Copies what the boot code found and powers the firmware on: topology and inventory included.
VOID MachineWorldStart ();
}
