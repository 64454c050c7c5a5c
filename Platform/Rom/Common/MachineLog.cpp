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
PrintMarker (const CHAR8 *Format, VA_LIST Args)
{
  CHAR8 Text[LogTextMax];
  BasePrintLibSPrintMarker (Text, sizeof Text, 0, Format, Args);
  const bool Locked = LockLog ();
  for (const CHAR8 *Next = Text; *Next != '\0'; ++Next) {
    if (*Next != '\r') {
      IoWrite8 (DebugConsolePort, static_cast<UINT8> (*Next));
    }
  }
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
  PrintMarker (Format, Args);
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
  PrintMarker (Format, Args);
  VA_END (Args);
  ExitMachine (End);
}
