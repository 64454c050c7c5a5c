/// One uncontended acquire and release of the driver's spin lock beside the C library's.

#include <pthread.h>

#include <benchmark/benchmark.h>

#include "BaseSynchronizationLib.h"

namespace {

void
SpinLockPair (benchmark::State &State)
{
  SPIN_LOCK Lock;
  InitializeSpinLock (&Lock);
  for ([[maybe_unused]] const auto Iteration : State) {
    benchmark::DoNotOptimize (AcquireSpinLock (&Lock));
    benchmark::DoNotOptimize (ReleaseSpinLock (&Lock));
  }
}

void
SpinLockPairLibrary (benchmark::State &State)
{
  pthread_spinlock_t Lock;
  pthread_spin_init (&Lock, PTHREAD_PROCESS_PRIVATE);
  for ([[maybe_unused]] const auto Iteration : State) {
    benchmark::DoNotOptimize (pthread_spin_lock (&Lock));
    benchmark::DoNotOptimize (pthread_spin_unlock (&Lock));
  }
  pthread_spin_destroy (&Lock);
}

BENCHMARK (SpinLockPair);
BENCHMARK (SpinLockPairLibrary);

} // namespace
