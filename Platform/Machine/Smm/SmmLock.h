/// A lock between processors in SMM.
#pragma once

#include "Machine.h"

/// Free when false.
using SmmLock = bool;

inline VOID
TakeLock (SmmLock &Lock)
{
  while (__atomic_exchange_n (&Lock, true, __ATOMIC_ACQUIRE)) {
    CpuPause ();
  }
}

inline VOID
GiveLock (SmmLock &Lock)
{
  __atomic_store_n (&Lock, false, __ATOMIC_RELEASE);
}
