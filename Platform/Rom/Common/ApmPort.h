/// The port whose write raises an SMI.
#pragma once

#include "Machine.h"

inline constexpr UINT16 ApmCommandPort = 0xB2;

/// Any value but 2 and 3, which the emulator takes for the switches of ACPI.
inline constexpr UINT8 ApmCommand = 0x10;

/// Raises an SMI on the executing processor. It is taken a few instructions later, or in SMM behind
/// RSM.
inline VOID
RaiseSmi ()
{
  IoWrite8 (ApmCommandPort, ApmCommand);
}
