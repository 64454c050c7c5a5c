/// Protocols that drivers locate and do not use: the ACPI table protocol and that for checking
/// buffers.
#pragma once

#include "Base.h"

extern "C" {

/// Installs them. A call of their first operations is a fault.
VOID LocatedProtocolsReset ();
}
