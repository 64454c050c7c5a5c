/// The PCD protocol: the platform's settings by token.
#pragma once

#include "Protocol/PcdProtocol.h"

extern "C" {

extern PcdProtocol gPcd;

/// Sets the base of the PCI Express window and installs the protocol with the boot services. A
/// token that has no value is a fault.
VOID PcdDatabaseReset ();
}
