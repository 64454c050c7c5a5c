/// Asks SMM for something on the executing processor.
#pragma once

#include "HandOver.h"

extern "C" {

/// Raises an SMI with this command and waits until SMM is done with it.
VOID CallSmm (SmmCommand Command);
}
