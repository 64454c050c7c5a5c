#include "BaseSynchronizationLib.h"

#include "Machine.h"
#include "SmmDebugServiceLib.h"

namespace {

constexpr SPIN_LOCK Released = 1;
constexpr SPIN_LOCK Acquired = 2;

constexpr CHAR8 SourceFile[] = "MdePkg/Library/BaseSynchronizationLib/SynchronizationMsc";
constexpr CHAR8 NotNullText[] = "SpinLock != ((void *) 0)";
constexpr CHAR8 ValueText[] = "LockValue == ((UINTN) 2) || LockValue == ((UINTN) 1)";
constexpr AssertionSite InitializeNotNull = {SourceFile, 40, NotNullText};
constexpr AssertionSite AcquireNotNull = {SourceFile, 60, NotNullText};
constexpr AssertionSite WaitInTime = {SourceFile, 90, "Total < Timeout"};
constexpr AssertionSite AttemptNotNull = {SourceFile, 110, NotNullText};
constexpr AssertionSite AttemptValue = {SourceFile, 113, ValueText};
constexpr AssertionSite ReleaseNotNull = {SourceFile, 140, NotNullText};
constexpr AssertionSite ReleaseValue = {SourceFile, 143, ValueText};

/// Bits 15:8 hold the ratio of the time-stamp counter to a 100 MHz clock (Intel SDM, volume 4,
/// MSR_PLATFORM_INFO).
constexpr UINT32 MSR_PLATFORM_INFO = 0xCE;
constexpr UINT64 RatioClockHertz = 100000000;
constexpr UINT64 MicrosecondsPerSecond = 1000000;

/// What a step back of the counter is corrected by.
constexpr INT64 BackwardStepCorrection = 2;

/// PcdSpinLockTimeout in ticks of the time-stamp counter.
UINT64
TimeoutTicks ()
{
  const UINT64 Ratio = (AsmReadMsr64 (MSR_PLATFORM_INFO) >> 8) & 0xFF;
  return Ratio * PcdSpinLockTimeout * RatioClockHertz / MicrosecondsPerSecond;
}

/// Waits for a lock that an attempt found held. Expiry never ends the wait.
VOID
WaitForSpinLock (SPIN_LOCK *SpinLock)
{
  UINT64 Current = AsmReadTsc ();
  UINT64 Total = 0;
  const UINT64 Timeout = TimeoutTicks ();

  do {
    CpuPause ();
    const UINT64 Previous = Current;
    Current = AsmReadTsc ();
    INT64 Delta = static_cast<INT64> (Current - Previous);
    if (Delta < 0) {
      Delta += BackwardStepCorrection;
    }
    Total += static_cast<UINT64> (Delta);
    ASSERT (Total < Timeout, WaitInTime);
  } while (!AcquireSpinLockOrFail (SpinLock));
}

bool
IsLockValue (SPIN_LOCK LockValue)
{
  return LockValue == Acquired || LockValue == Released;
}

} // namespace

SPIN_LOCK *
InitializeSpinLock (SPIN_LOCK *SpinLock)
{
  ASSERT (SpinLock != nullptr, InitializeNotNull);
  if (SpinLock == nullptr) {
    return nullptr;
  }
  __atomic_store_n (SpinLock, Released, __ATOMIC_RELEASE);
  return SpinLock;
}

SPIN_LOCK *
AcquireSpinLock (SPIN_LOCK *SpinLock)
{
  ASSERT (SpinLock != nullptr, AcquireNotNull);
  if (SpinLock == nullptr) {
    return nullptr;
  }

  if (PcdSpinLockTimeout == 0) {
    while (!AcquireSpinLockOrFail (SpinLock)) {
      CpuPause ();
    }
  } else if (!AcquireSpinLockOrFail (SpinLock)) {
    WaitForSpinLock (SpinLock);
  }
  return SpinLock;
}

BOOLEAN
AcquireSpinLockOrFail (SPIN_LOCK *SpinLock)
{
  ASSERT (SpinLock != nullptr, AttemptNotNull);
  if (SpinLock == nullptr) {
    return FALSE;
  }

  // The compare alone decides; this value serves the assertion.
  const SPIN_LOCK LockValue = __atomic_load_n (SpinLock, __ATOMIC_RELAXED);
  ASSERT (IsLockValue (LockValue), AttemptValue);

  SPIN_LOCK Expected = Released;
  return __atomic_compare_exchange_n (SpinLock, &Expected, Acquired, false, __ATOMIC_SEQ_CST,
                                      __ATOMIC_SEQ_CST);
}

SPIN_LOCK *
ReleaseSpinLock (SPIN_LOCK *SpinLock)
{
  ASSERT (SpinLock != nullptr, ReleaseNotNull);
  if (SpinLock == nullptr) {
    return nullptr;
  }

  const SPIN_LOCK LockValue = __atomic_load_n (SpinLock, __ATOMIC_RELAXED);
  ASSERT (IsLockValue (LockValue), ReleaseValue);
  __atomic_store_n (SpinLock, Released, __ATOMIC_RELEASE);
  return SpinLock;
}
