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
  while (*Text != '\0') {
    const CHAR8 *End = Text;
    while (*End != '\0' && *End != '\r') {
      ++End;
    }
    IoWriteBytes (DebugConsolePort, Text, static_cast<UINTN> (End - Text));
    Text = *End == '\r' ? End + 1 : End;
  }
}

VOID
PrintMarker (const CHAR8 *Format, VA_LIST Args, const CHAR8 *Behind)
{
  CHAR8 Text[LogTextMax];
  BasePrintLibSPrintMarker (Text, sizeof Text, 0, Format, Args);
  const bool Locked = LockLog ();
  Write (Text);
  Write (Behind);
  if (Locked) {
    GiveLock (mLock);
  }
}

} // namespace

VOID EFIAPI
LogPrint (const CHAR8 *Format, ...)
{
  VA_LIST Args;
  VA_START (Args, Format);
  PrintMarker (Format, Args, "");
  VA_END (Args);
}

VOID EFIAPI
LogText (const CHAR8 *Text, const CHAR8 *Format, ...)
{
  VA_LIST Args;
  VA_START (Args, Format);
  PrintMarker (Format, Args, Text);
  VA_END (Args);
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
  PrintMarker (Format, Args, "");
  VA_END (Args);
  ExitMachine (End);
}
