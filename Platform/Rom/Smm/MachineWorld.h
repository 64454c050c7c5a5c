/// The emulated machine as the world of the stand-in firmware.
#pragma once

#include "Base.h"

extern "C" {

/// Powers the firmware on with what the boot code found: topology and inventory included.
VOID MachineWorldStart ();
}
