/// The settings of a run, from the command line's files opt/velmora/...
#pragma once

#include "Base.h"

extern "C" {

/// Takes the number of drivers and the size of their file into the hand-over record, and writes the
/// mask of the driver's log to CMOS. A setting that is not as it has to be ends the run.
VOID ReadSettings ();
}
