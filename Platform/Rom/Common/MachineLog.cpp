#include "MachineLog.h"

#include "HostInterface.h"
#include "Machine.h"
#include "PrintLib.h"
#include "ProcessorInstructions.h"
#include "ProcessorLock.h"
#include "WritableWhenLocked.h"

namespace {

/// Passes after which a writer goes ahead without the lock: its holder has raised an exception.
constexpr UINTN LockPassesMax = 10000000;

WRITABLE_WHEN_LOCKED constinit ProcessorLock mLock = false;

/// Keeps texts of several processors apart. Returns whether the lock was taken.
bool
LockLog ()
{
  for (UINTN Pass = 0; Pass < LockPassesMax; ++Pass) {
    if (TryLock (mLock)) {
      return true;
    }
    CpuPause ();
  }
  return false;
}

VOID
Write (const CHAR8 *Text)
{
  const CHAR8 *End = Text;
  while (*End != '\0') {
    ++End;
  }
  IoWriteBytes (DebugConsolePort, Text, static_cast<UINTN> (End - Text));
}

/// Makes CR LF, as the print engine writes it, a plain line end.
VOID
DropReturns (CHAR8 *Text)
{
  CHAR8 *End = Text;
  for (; *Text != '\0'; ++Text) {
    if (*Text != '\r') {
      *End++ = *Text;
    }
  }
  *End = '\0';
}

VOID
PrintMarker (const CHAR8 *Format, VA_LIST Args)
{
  CHAR8 Text[LogTextMax];
  BasePrintLibSPrintMarker (Text, sizeof Text, 0, Format, Args);
  DropReturns (Text);
  LogTexts ("", Text);
}

} // namespace

VOID EFIAPI
LogPrint (const CHAR8 *Format, ...)
{
  VA_LIST Args;
  VA_START (Args, Format);
  PrintMarker (Format, Args);
  VA_END (Args);
}

VOID
LogTexts (const CHAR8 *First, const CHAR8 *Second)
{
  const bool Locked = LockLog ();
  Write (First);
  Write (Second);
  if (Locked) {
    GiveLock (mLock);
  }
}

VOID
ExitMachine (UINT32 Number)
{
  IoWrite32 (DebugExitPort, Number);
  for (;;) {
    CpuPause ();
  }
}

VOID EFIAPI
EndRun (RunEnd End, const CHAR8 *Format, ...)
{
  VA_LIST Args;
  VA_START (Args, Format);
  PrintMarker (Format, Args);
  VA_END (Args);
  ExitMachine (End);
}
