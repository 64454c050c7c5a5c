/// The machine's log, which goes to the debug console, and the end of a run.
///
/// Both images have their own copy of these: SMM must not wait for what lies outside it.
#pragma once

#include "Base.h"

/// Longest text of one call with its NUL; what goes beyond is cut.
inline constexpr UINTN LogTextMax = 640;

/// How a run ends. The emulator's exit code is twice the number plus one; it has none for a machine
/// that reset itself, and then ends with 0.
enum RunEnd : UINT8 {
  EndSettings = 1,  ///< A setting, the inventory or the driver's file is not as it has to be.
  EndException = 2, ///< A processor raised an exception that nobody expects.
  EndFault = 3,     ///< The driver broke a rule of the platform.
  EndMachine = 4,   ///< The hardware is not as the boot code needs it.
  EndAssertion = 5, ///< The driver asserted, and its processor would stop for ever.
};

extern "C" {

/// Composes a text as AsciiSPrint does and writes it, whole, to the log with plain line ends.
VOID EFIAPI LogPrint (const CHAR8 *Format, ...);

/// Writes two texts of any length as they are: nothing comes between them.
VOID LogTexts (const CHAR8 *First, const CHAR8 *Second);

/// Ends the emulator with exit code 2 * Number + 1.
[[noreturn]] VOID ExitMachine (UINT32 Number);

/// Logs what LogPrint would and ends the run.
[[noreturn]] VOID EFIAPI EndRun (RunEnd End, const CHAR8 *Format, ...);
}
