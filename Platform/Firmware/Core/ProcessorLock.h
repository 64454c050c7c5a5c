/// A lock between processors. It is free while false, and is not to be taken twice by its holder.
#pragma once

using ProcessorLock = bool;

/// Returns whether the lock was free and now is the caller's.
inline bool
TryLock (ProcessorLock &Lock)
{
  return !__atomic_exchange_n (&Lock, true, __ATOMIC_ACQUIRE);
}

/// Waits for the lock without a bound: each holder gives it back, or ends the run.
inline void
TakeLock (ProcessorLock &Lock)
{
  while (!TryLock (Lock)) {
    __builtin_ia32_pause ();
  }
}

inline void
GiveLock (ProcessorLock &Lock)
{
  __atomic_store_n (&Lock, false, __ATOMIC_RELEASE);
}
