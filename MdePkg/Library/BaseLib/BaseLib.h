/// Processor and text primitives that the driver brings along for want of a runtime library.
#pragma once

#include "Base.h"

extern "C" {

/// The loop in which a failed assertion ends: executes CpuPause until something outside the
/// program, such as a debugger, changes its local variable.
VOID EFIAPI CpuDeadLoop ();
}
