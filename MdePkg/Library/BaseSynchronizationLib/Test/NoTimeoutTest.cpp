#include "BaseSynchronizationLib.h"

#include <atomic>
#include <functional>
#include <thread>

#include "ModuleTestBench.h"

namespace {

/// A machine without a time-stamp counter and without MSRs.
class UntimedMachine : public HostMachine {
public:
  void
  Pause () override
  {
    OnPause ();
  }

  std::function<void ()> OnPause = [] { __builtin_ia32_pause (); };
};

class SpinLockWithoutTimeout : public ModuleTestBench {
public:
  SpinLockWithoutTimeout ()
  {
    UseMachine (Machine);
  }

  UntimedMachine Machine;
  SPIN_LOCK Lock = 2;
};

TEST_F (SpinLockWithoutTimeout, IsWaitedForByPausesAlone)
{
  int Pauses = 0;
  Machine.OnPause = [&] {
    if (++Pauses == 3) {
      ReleaseSpinLock (&Lock);
    }
  };
  EXPECT_EQ (AcquireSpinLock (&Lock), &Lock);
  EXPECT_EQ (Pauses, 3);
  EXPECT_EQ (Lock, 2U);
}

TEST_F (SpinLockWithoutTimeout, KeepsTwoProcessorsApart)
{
  constexpr UINT64 Rounds = 500000;
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
