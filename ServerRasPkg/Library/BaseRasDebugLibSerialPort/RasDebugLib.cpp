#include "RasDebugLib.h"

#include "BaseSerialPortLib16550.h"
#include "BaseSynchronizationLib.h"
#include "PrintLib.h"
#include "RasDebugLibInternal.h"
#include "Record/LoggingLock.h"
#include "SmmMpExtensionLib.h"
#include "SmmRasGlobalDataLib.h"

namespace {

constexpr AssertionSite LocksFound = {"ServerRasPkg/Library/BaseRasDebugLibSerialPort/RasDebugLib",
                                      62, "mLoggingLock != ((void *) 0)"};

/// Room for one line with its NUL, in bytes.
constexpr UINTN LineSize = 512;

/// The locks of the log; null until found. They are shared by all drivers of the boot.
constinit LoggingLockBuffer *mLoggingLock = nullptr;

LoggingLockBuffer *
LoggingLocks ()
{
  return __atomic_load_n (&mLoggingLock, __ATOMIC_RELAXED);
}

/// Puts the place of the executing processor at the head of a line. Returns its length.
UINTN
WritePrefix (CHAR8 *Line)
{
  CpuLocation Location;
  GetCurrentProcessorLocation (&Location);
  return AsciiSPrint (Line, LineSize, "S%d C%d T%d ", Location.Package, Location.Core,
                      Location.Thread);
}

/// Which of the two locks a line holds.
struct HeldLocks {
  bool First;
  bool Second;
};

/// An urgent line takes the first lock if it can be had and never waits for it; the second one
/// keeps urgent lines apart from each other.
HeldLocks
TakeLocks (LoggingLockBuffer *Locks, UINTN Level)
{
  if (Locks == nullptr) {
    return {.First = false, .Second = false};
  }
  if ((Level & RAS_DEBUG_URGENT) != 0) {
    AcquireSpinLock (&Locks->SecondLock);
    return {.First = AcquireSpinLockOrFail (&Locks->FirstLock) != FALSE, .Second = true};
  }
  AcquireSpinLock (&Locks->FirstLock);
  return {.First = true, .Second = false};
}

VOID
ReleaseLocks (LoggingLockBuffer *Locks, const HeldLocks &Held)
{
  if (Held.First) {
    ReleaseSpinLock (&Locks->FirstLock);
  }
  if (Held.Second) {
    ReleaseSpinLock (&Locks->SecondLock);
  }
}

/// Puts a line on the wire in its turn. A port that cannot take it loses it.
VOID
WriteLine (UINTN Level, const CHAR8 *Line)
{
  if (LoggingLocks () == nullptr) {
    (void)RasDebugLibConstructor (); // What the port says shows in mSerialPortUsable.
  }
  LoggingLockBuffer *Locks = LoggingLocks ();

  const HeldLocks Held = TakeLocks (Locks, Level);
  const UINTN Length = AsciiStrLen (Line);
  if (__atomic_load_n (&mSerialPortUsable, __ATOMIC_RELAXED)) {
    (void)SerialPortWrite (reinterpret_cast<const UINT8 *> (Line), Length);
  }
  ReleaseLocks (Locks, Held);
}

} // namespace

RETURN_STATUS EFIAPI
RasDebugLibConstructor ()
{
  BOOLEAN NewBuffer = FALSE;
  auto *Locks = static_cast<LoggingLockBuffer *> (
      GetRasGlobalData (LoggingLockName, sizeof (LoggingLockBuffer), &NewBuffer));
  ASSERT (Locks != nullptr, LocksFound);
  if (NewBuffer) {
    InitializeSpinLock (&Locks->FirstLock);
    InitializeSpinLock (&Locks->SecondLock);
  }
  __atomic_store_n (&mLoggingLock, Locks, __ATOMIC_RELAXED);
  return SerialPortInitialize ();
}

VOID EFIAPI
RasDebugPrint (UINTN Level, const CHAR8 *Format, ...)
{
  if ((Level & GetRasLevelMask ()) == 0) {
    return;
  }

  CHAR8 Line[LineSize];
  Line[0] = 0; // A format that the formatter refuses leaves no text.
  UINTN PrefixLength = 0;
  if ((Level & (RAS_DEBUG_URGENT | RAS_DEBUG_LOCATED)) != 0) {
    PrefixLength = WritePrefix (Line);
  }
  VA_LIST Marker;
  VA_START (Marker, Format);
  BasePrintLibSPrintMarker (Line + PrefixLength, LineSize - PrefixLength, 0, Format, Marker);
  VA_END (Marker);

  WriteLine (Level, Line);
}
