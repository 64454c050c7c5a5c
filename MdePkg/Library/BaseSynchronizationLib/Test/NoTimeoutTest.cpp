#include "BaseSynchronizationLib.h"

#include <atomic>
#include <thread>

#include "ModuleTestBench.h"

namespace {

/// A machine without a time-stamp counter and without MSRs.
class UntimedMachine : public HostMachine {
  void
  Pause () override
  {
    __builtin_ia32_pause ();
  }
};

using SpinLockWithoutTimeout = ModuleTestBench;

TEST_F (SpinLockWithoutTimeout, KeepsTwoProcessorsApart)
{
  constexpr UINT64 Rounds = 500000;
  UntimedMachine Machine;
  UseMachine (Machine);
  SPIN_LOCK Lock;
  InitializeSpinLock (&Lock);
  UINT64 Count = 0;
  std::atomic<int> Missing = 2;
  const auto Processor = [&] {
    --Missing;
    while (Missing != 0) {
    }
    for (UINT64 Round = 0; Round < Rounds; ++Round) {
      AcquireSpinLock (&Lock);
      const UINT64 Before = Count;
      __builtin_ia32_pause (); // time for the other to come in
      Count = Before + 1;
      ReleaseSpinLock (&Lock);
    }
  };
  std::thread Other (Processor);
  Processor ();
  Other.join ();
  EXPECT_EQ (Count, 2 * Rounds);
}

} // namespace
