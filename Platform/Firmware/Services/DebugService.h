/// The SMM debug service. What it is given goes, expanded, to the world's DebugOutput.
#pragma once

#include "Protocol/SmmDebugService.h"

/// Longest text of one message, with its NUL; what goes beyond is cut.
inline constexpr UINTN DebugTextMax = 512;

extern "C" {

/// The interface. A test sets Revision before a driver is loaded: 0x10000 and below takes the form
/// without the module's name; a client that uses the wrong form is a fault.
extern SmmDebugServiceProtocol gDebugService;

/// Revision 0x10001, installed.
VOID DebugServiceReset ();
}
