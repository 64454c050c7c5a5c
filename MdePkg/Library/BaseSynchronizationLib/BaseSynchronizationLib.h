/// Spin locks: one word in memory that drivers may share, with no owner and no queue.
#pragma once

#include "SpinLock.h"

extern "C" {

/// Makes *SpinLock a released lock, whatever it held before. Returns SpinLock. A null pointer is an
/// assertion; when that returns, nothing is written.
SPIN_LOCK *InitializeSpinLock (SPIN_LOCK *SpinLock);

/// Waits until the lock is taken, and returns SpinLock with the lock held. It is not re-entrant. A
/// wait of PcdSpinLockTimeout microseconds by the time-stamp counter is an assertion, raised again
/// by every further pass; when that returns, the wait goes on. A null pointer is an assertion too;
/// when that returns, the result is null at once.
SPIN_LOCK *AcquireSpinLock (SPIN_LOCK *SpinLock);

/// One atomic attempt, with a full barrier. Returns TRUE if this call took the lock and FALSE if
/// it was held. A null pointer and a word that is no lock are assertions; when they return, the
/// result is FALSE and nothing is written.
[[nodiscard]] BOOLEAN AcquireSpinLockOrFail (SPIN_LOCK *SpinLock);

/// Releases the lock, whoever holds it, with release order. Returns SpinLock. A null pointer and a
/// word that is no lock are assertions; when the second returns, the word is made a released lock.
SPIN_LOCK *ReleaseSpinLock (SPIN_LOCK *SpinLock);
}
