/// The system inventory as the host gives it, a line for each device; docs/machine.md has the form.
#pragma once

#include "Base.h"

extern "C" {

/// Reads opt/velmora/inventory, if there is one, into the hand-over record. To be called once PCI
/// is configured. A line that is not as it has to be ends the run.
VOID ReadInventory ();
}
