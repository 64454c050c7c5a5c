/// Loads the driver's image into SMRAM as often as the boot asks for, and starts each.
#pragma once

#include "Base.h"

extern "C" {

/// Copies the file into SMRAM, and for each driver lays it out, protects its sections and calls its
/// entry. A file that is not sound ends the run.
VOID LoadDrivers ();
}
