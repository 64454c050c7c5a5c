/// Brings SMM into TSEG.
#pragma once

#include "Base.h"

extern "C" {

/// Whether an SMI is served as SmmCall.h says.
extern bool gSmmIsSetUp;

/// Lays the SMM image into TSEG, gives each processor its own SMBASE there, locks TSEG and checks
/// from outside that it is closed.
VOID SetUpSmm ();
}
