/// Binds the PCD protocol.
#pragma once

#include "Protocol/PcdProtocol.h"

extern "C" {

/// Returns the PCD protocol's interface, which belongs to its producer. Binds it with the first
/// call, for which the boot services have to be there. That there is none is an assertion; when
/// that returns, the result is null.
PcdProtocol *GetPcdProtocol ();
}
