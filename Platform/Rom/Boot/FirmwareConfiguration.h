/// The emulator's firmware configuration device: named files of the command line (-fw_cfg).
#pragma once

#include "Base.h"

extern "C" {

/// Reads a file into Text and puts a NUL behind it. Returns false when there is none. One of
/// TextSize bytes or more, or with a NUL in it, ends the run, and so does a missing device.
bool ReadConfigurationText (const CHAR8 *Name, CHAR8 *Text, UINTN TextSize);
}
