/// Asks SMM for something on the executing processor.
#pragma once

#include "HandOver.h"

/// Passes of a wait for an SMI that this processor has raised: SMM comes within a few.
inline constexpr UINTN SmiPassesMax = 100000000;

extern "C" {

/// Raises an SMI with this command and waits until SMM is done with it.
VOID CallSmm (SmmCommand Command);
}
