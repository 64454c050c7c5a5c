#include "BaseSynchronizationLib.h"

#include <atomic>
#include <thread>

#include "Machine.h"
#include "ModuleTestBench.h"
#include "SmmDebugServiceLib.h"

// The module without a time-out: what a namespace declares hides the build's own.
namespace NoTimeout {
constexpr UINT32 PcdSpinLockTimeout = 0;
#include "SynchronizationMsc.cpp"
} // namespace NoTimeout

namespace {

const std::string Source = "MdePkg/Library/BaseSynchronizationLib/SynchronizationMsc:";

/// A machine that plays a list of counter values. A lock is free once the list is all but played.
struct WaitingMachine : StoppingMachine {
  WaitingMachine (const std::vector<std::string> &Seen, UINT64 Info, std::vector<UINT64> Values)
      : Assertions (Seen), PlatformInfo (Info), Counter (std::move (Values))
  {
  }

  UINT64
  ReadMsr (UINT32 Index) override
  {
    EXPECT_EQ (Index, 0xCEU);
    return PlatformInfo;
  }

  UINT64
  ReadTsc () override
  {
    return Counter.at (CounterReads++);
  }

  void
  Pause () override
  {
    if (!Assertions.empty ()) {
      StoppingMachine::Pause ();
    }
    EXPECT_EQ (Lock, 2U) << "an attempt comes behind the pause and the look at the time";
    if (CounterReads + 1 == Counter.size ()) {
      ReleaseSpinLock (&Lock);
    }
  }

  const std::vector<std::string> &Assertions;
  UINT64 PlatformInfo;
  std::vector<UINT64> Counter;
  UINTN CounterReads = 0;
  SPIN_LOCK Lock = 2;
};

using SpinLock = ModuleTestBench;

TEST_F (SpinLock, IsTakenOnceAndReleasedByAnyone)
{
  SPIN_LOCK Lock = 0;
  EXPECT_EQ (InitializeSpinLock (&Lock), &Lock);
  EXPECT_EQ (AcquireSpinLockOrFail (&Lock), TRUE);
  EXPECT_EQ (AcquireSpinLockOrFail (&Lock), FALSE);
  EXPECT_EQ (Lock, 2U);
  EXPECT_EQ (ReleaseSpinLock (&Lock), &Lock);
  EXPECT_EQ (AcquireSpinLock (&Lock), &Lock);
}

TEST_F (SpinLock, AssertsThatThereIsOneAndThatItIsALock)
{
  const std::string Null = " SpinLock != ((void *) 0)";
  const std::string Value = " LockValue == ((UINTN) 2) || LockValue == ((UINTN) 1)";
  for (const bool Stops : {false, true}) {
    const auto Expect = [&] (const std::string &Site, auto Call) {
      EXPECT_EQ (StoppedAt (Call), Stops ? Source + Site : "");
    };
    Expect ("40" + Null, [] { EXPECT_EQ (InitializeSpinLock (nullptr), nullptr); });
    Expect ("60" + Null, [] { EXPECT_EQ (AcquireSpinLock (nullptr), nullptr); });
    Expect ("110" + Null, [] { EXPECT_EQ (AcquireSpinLockOrFail (nullptr), FALSE); });
    Expect ("140" + Null, [] { EXPECT_EQ (ReleaseSpinLock (nullptr), nullptr); });
    for (const SPIN_LOCK Word : {0ULL, 3ULL, 0x100000001ULL}) {
      SPIN_LOCK Lock = Word;
      Expect ("113" + Value, [&] { EXPECT_EQ (AcquireSpinLockOrFail (&Lock), FALSE); });
      EXPECT_EQ (Lock, Word);
      Expect ("143" + Value, [&] { ReleaseSpinLock (&Lock); });
      EXPECT_EQ (Lock, Stops ? Word : 1U);
    }
    InstallDebugService ();
  }
}

TEST_F (SpinLock, AssertsInThePassInWhichItsTimeIsUpAndIsNeverForced)
{
  // The last value of each list is the first that raises the assertion.
  const struct {
    const char *Name;
    UINT64 PlatformInfo;
    std::vector<UINT64> Counter;
  } Rows[] = {
      {"one ratio step is 2 * 10^9 ticks", 0x100, {7, 2000000006, 2000000007}},
      {"the largest ratio, in bits 15:8 alone", ~0xFFULL, {0, 509999999999, 510000000000}},
      {"no ratio, no time", 0, {5, 5}},
      {"the counter may wrap", 0x100, {~0ULL, 1999999998, 1999999999}},
      {"a counter that stands still counts nothing", 0x100, {7, 7, 2000000006, 2000000007}},
      {"a step back by 1 counts 1", 0x100, {9, 2000000007, 2000000006, 2000000005}},
      {"a step back by 3 counts -1", 0x100, {9, 2000000008, 2000000005, 2000000006, 2000000007}},
      {"a total below 0 is past any time", 0x100, {9, 6}},
  };
  for (const bool Stops : {false, true}) {
    for (const auto &Row : Rows) {
      SCOPED_TRACE (Row.Name);
      Assertions.clear ();
      WaitingMachine Machine (Assertions, Row.PlatformInfo, Row.Counter);
      UseMachine (Machine);
      EXPECT_EQ (StoppedAt ([&] { AcquireSpinLock (&Machine.Lock); }),
                 Stops ? Source + "90 Total < Timeout" : "");
      EXPECT_EQ (Machine.CounterReads, Row.Counter.size ());
      EXPECT_EQ (Machine.Lock, Stops ? 1U : 2U) << "the assertion comes ahead of the attempt";
    }
    InstallDebugService ();
  }
}

TEST_F (SpinLock, KeepsTwoProcessorsApartWithoutACounter)
{
  constexpr UINT64 Rounds = 500000;
  struct : HostMachine {
    void
    Pause () override
    {
    }
  } UntimedMachine;
  UseMachine (UntimedMachine);
  SPIN_LOCK Lock;
  InitializeSpinLock (&Lock);
  UINT64 Count = 0;
  std::atomic<int> Missing = 2;
  const auto Processor = [&] {
    for (--Missing; Missing != 0;) {
    }
    for (UINT64 Round = 0; Round < Rounds; ++Round) {
      NoTimeout::AcquireSpinLock (&Lock);
      const UINT64 Before = Count;
      __builtin_ia32_pause (); // time for the other to come in
      Count = Before + 1;
      NoTimeout::ReleaseSpinLock (&Lock);
    }
  };
  std::thread Other (Processor);
  Processor ();
  Other.join ();
  EXPECT_EQ (Count, 2 * Rounds);
}

} // namespace
