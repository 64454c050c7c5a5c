/// MSR_PLATFORM_INFO, which the emulator does not have: it reads 0 there, and a driver that takes
/// the rate of the time-stamp counter from it would find every wait for a lock too long.
///
/// No bytes of the driver change for it. Breakpoint registers stop a processor in SMM at each RDMSR
/// of the drivers, and the machine answers in the emulator's place.
#pragma once

#include "ExceptionFrame.h"

extern "C" {

/// Notes the RDMSR instruction that the code of a driver has. The processor has four breakpoint
/// registers, so there are four places; more than one in a driver, and a fifth driver, end the run.
VOID PlatformInformationWatch (const UINT8 *Code, UINTN Size);

/// Sets the breakpoints of the executing processor, or takes them back ahead of RSM.
VOID PlatformInformationArm ();
VOID PlatformInformationDisarm ();

/// Serves a debug exception. Returns false for one of another cause.
bool PlatformInformationServe (ExceptionFrame *Frame);
}
