/// The second serial port, COM2, over which the host drives the machine: lines in both directions.
#pragma once

#include "Base.h"

/// Longest line in either direction, with its NUL.
inline constexpr UINTN ControlLineMax = 256;

extern "C" {

/// Sets the port up and routes its interrupt to the first processor.
VOID ControlPortOpen ();

/// The port's interrupt: takes what has been received.
VOID ControlPortReceive ();

/// Sleeps until a line has been received and puts it, without its end, into Line. Returns false for
/// one that is too long, which is dropped.
bool ControlPortReadLine (CHAR8 (&Line)[ControlLineMax]);

/// Composes a line as AsciiSPrint does, without its end, and sends it.
VOID EFIAPI ControlPortPrint (const CHAR8 *Format, ...);
}
