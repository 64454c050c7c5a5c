/// The settings of a run, from the command line's files opt/velmora/...
#pragma once

#include "Base.h"

extern "C" {

/// Takes what is said of the firmware volume and of the log into the hand-over record, and writes
/// the mask of the driver's log to CMOS. A setting that is not as it has to be ends the run.
VOID ReadSettings ();
}
