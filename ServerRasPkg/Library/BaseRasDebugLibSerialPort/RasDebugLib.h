/// The RAS debug log: lines that go straight to the serial port, selected by a mask that the
/// platform sets. All drivers of a boot share its locks, so their lines stand whole on the wire.
#pragma once

#include "Base.h"
#include "BaseLib.h"
#include "SmmDebugServiceLib.h"

/// Levels in use. A line may have several; it goes out if one of them is in the mask.
inline constexpr UINTN RAS_DEBUG_FAILURE = 0x04000000;
inline constexpr UINTN RAS_DEBUG_FLOW = 0x08000000;

/// The line goes out even while another one is on the wire; it has a prefix too.
inline constexpr UINTN RAS_DEBUG_URGENT = 0x20000000;

/// The line has a prefix with the place of its processor: "S0 C2 T1 ".
inline constexpr UINTN RAS_DEBUG_LOCATED = 0x40000000;

extern "C" {

/// Library constructor without arguments: finds the two locks of the log, which the first driver of
/// a boot sets up, and brings up the serial port. Returns the status of the port. Locks that cannot
/// be had are an assertion; where that returns, lines go out without them.
RETURN_STATUS EFIAPI RasDebugLibConstructor ();

/// Writes one line of at most 511 characters, its prefix included; what goes beyond is cut. Format
/// and arguments are those of the print formatter, and no line end is added. Never fails to its
/// caller. To be called once the store of shared buffers is bound; ahead of the constructor it
/// makes up for that.
///
/// The first call of a driver belongs on the processor that loads the driver: it finds out the
/// mask, and publishes it in a HOB where no HOB has it.
VOID EFIAPI RasDebugPrint (UINTN Level, const CHAR8 *Format, ...);
}

/// The fatal check of the RAS libraries, made where assertions are: one line, whether or not there
/// is a debug service, then the dead loop. The site's text is not reported.
#define RAS_ASSERT(Expression, Site)                                                             \
  do {                                                                                           \
    if (DebugAssertEnabled () && !(Expression)) {                                                \
      RasDebugPrint (RAS_DEBUG_FLOW, "RAS ASSERT ERROR found -- %a line %d!\n", (Site).FileName, \
                     (Site).LineNumber);                                                         \
      CpuDeadLoop ();                                                                            \
    }                                                                                            \
  } while (false)
