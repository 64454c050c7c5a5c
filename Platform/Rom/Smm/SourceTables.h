/// Where hardware errors come from, on this machine.
#pragma once

#include "Base.h"

extern "C" {

/// Makes the tables of sources of what the boot code found.
VOID ErrorSourcesStart ();

/// Asks all sources on the executing processor, and reports each error as a status code. To be
/// called in every SMI once drivers are loaded, possibly on several processors at once.
VOID ServeErrorSources ();
}
