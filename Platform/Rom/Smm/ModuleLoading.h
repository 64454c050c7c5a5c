/// Starts the modules of the firmware volume that the machine was given.
#pragma once

extern "C" {

/// Copies the volume into SMRAM, and starts its modules in the order that they ask for: lays each
/// out, protects its sections and calls its entry. Tells in the log what each module that could not
/// be started waits for. A volume or an image that is not sound ends the run.
void LoadModules ();
}
