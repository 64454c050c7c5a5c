#include "BaseSynchronizationLib.h"

#include <functional>

#include "ModuleTestBench.h"

namespace {

const std::string Source = "MdePkg/Library/BaseSynchronizationLib/SynchronizationMsc:";

/// A machine that plays a list of counter values and keeps a transcript of the wait.
class WaitingMachine : public HostMachine {
public:
  UINT64
  ReadMsr (UINT32 Index) override
  {
    EXPECT_EQ (Index, 0xCEU);
    Transcript += "msr, ";
    return PlatformInfo;
  }

  UINT64
  ReadTsc () override
  {
    Transcript += "tsc, ";
    return Counter.at (CounterReads++);
  }

  void
  Pause () override
  {
    Transcript += "pause, ";
    OnPause ();
  }

  UINT64 PlatformInfo = 0; // no ratio: every wait is too long
  std::vector<UINT64> Counter;
  UINTN CounterReads = 0;
  std::function<void ()> OnPause;
  std::string Transcript;
};

class SpinLock : public ModuleTestBench {
public:
  SpinLock ()
  {
    UseMachine (Machine);
    Machine.OnPause = [this] { StopAfterAssertion (); };
  }

  void
  StopAfterAssertion () const
  {
    if (!Assertions.empty ()) {
      throw ProcessorStopped ("dead loop");
    }
  }

  WaitingMachine Machine;
};

TEST_F (SpinLock, IsTakenOnceAndReleasedByAnyone)
{
  InstallDebugService ();
  SPIN_LOCK Lock = 0;
  EXPECT_EQ (InitializeSpinLock (&Lock), &Lock);
  EXPECT_EQ (AcquireSpinLockOrFail (&Lock), TRUE);
  EXPECT_EQ (AcquireSpinLockOrFail (&Lock), FALSE);
  EXPECT_EQ (Lock, 2U);
  EXPECT_EQ (ReleaseSpinLock (&Lock), &Lock);
  EXPECT_EQ (ReleaseSpinLock (&Lock), &Lock);
  EXPECT_EQ (AcquireSpinLock (&Lock), &Lock);
  EXPECT_EQ (Lock, 2U);
  InitializeSpinLock (&Lock);
  EXPECT_EQ (Lock, 1U);
  EXPECT_EQ (Machine.Transcript, "") << "no wait, no assertion";
}

TEST_F (SpinLock, AssertsThatThereIsOneAndThatItIsALock)
{
  const std::string Null = " SpinLock != ((void *) 0)";
  const std::string Value = " LockValue == ((UINTN) 2) || LockValue == ((UINTN) 1)";
  for (const bool Stops : {false, true}) {
    const auto Expect = [&] (const std::string &Site, const std::function<void ()> &Call) {
      Assertions.clear ();
      EXPECT_EQ (StoppedAt (Call), Stops ? Source + Site : "");
    };
    Expect ("40" + Null, [] { EXPECT_EQ (InitializeSpinLock (nullptr), nullptr); });
    Expect ("60" + Null, [] { EXPECT_EQ (AcquireSpinLock (nullptr), nullptr); });
    Expect ("110" + Null, [] { EXPECT_EQ (AcquireSpinLockOrFail (nullptr), FALSE); });
    Expect ("140" + Null, [] { EXPECT_EQ (ReleaseSpinLock (nullptr), nullptr); });
    for (const SPIN_LOCK Word : {0ULL, 3ULL, 0x100000001ULL, ~0ULL}) {
      SPIN_LOCK Lock = Word;
      Expect ("113" + Value, [&] { EXPECT_EQ (AcquireSpinLockOrFail (&Lock), FALSE); });
      EXPECT_EQ (Lock, Word);
      Expect ("143" + Value, [&] { ReleaseSpinLock (&Lock); });
      EXPECT_EQ (Lock, Stops ? Word : 1U);
    }
    InstallDebugService ();
  }
}

TEST_F (SpinLock, AssertsInThePassInWhichItsTimeIsUp)
{
  // The last value of each list is the first that may raise the assertion.
  const struct {
    const char *Name;
    UINT64 PlatformInfo;
    std::vector<UINT64> Counter;
  } Rows[] = {
      {"one ratio step is 2 * 10^9 ticks", 0x100, {7, 2000000006, 2000000007}},
      {"only bits 15:8 count", 0xFFFFFFFFFFFF01FF, {0, 1999999999, 2000000000}},
      {"the largest ratio", 0xFF00, {0, 509999999999, 510000000000}},
      {"no ratio, no time", 0, {5, 5}},
      {"the counter may wrap", 0x100, {~0ULL, 1999999998, 1999999999}},
      {"a step back by 1 counts 1", 0x100, {9, 2000000007, 2000000006, 2000000005}},
      {"a step back by 2 counts 0", 0x100, {9, 2000000008, 2000000006, 2000000007}},
      {"a step back by 3 counts -1", 0x100, {9, 2000000008, 2000000005, 2000000006, 2000000007}},
      {"a total below 0 is past any time", 0x100, {9, 6}},
  };
  InstallDebugService ();
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Name);
    SPIN_LOCK Lock = 2;
    Machine.PlatformInfo = Row.PlatformInfo;
    Machine.Counter = Row.Counter;
    Machine.CounterReads = 0;
    Assertions.clear ();
    EXPECT_EQ (StoppedAt ([&] { AcquireSpinLock (&Lock); }), Source + "90 Total < Timeout");
    EXPECT_EQ (Machine.CounterReads, Row.Counter.size ());
  }
}

TEST_F (SpinLock, TakesTimeBeforeTheNextAttemptAndIsNeverForced)
{
  SPIN_LOCK Lock = 2;
  Machine.OnPause = [&] {
    StopAfterAssertion ();
    EXPECT_EQ (Lock, 2U);
    if (Machine.CounterReads + 1 == Machine.Counter.size ()) {
      ReleaseSpinLock (&Lock);
    }
  };
  Machine.Counter = {0, 0, 0};
  EXPECT_EQ (AcquireSpinLock (&Lock), &Lock);
  EXPECT_EQ (Machine.Transcript, "tsc, msr, pause, tsc, pause, tsc, ");

  // The assertion comes ahead of an attempt that would succeed.
  InstallDebugService ();
  Machine.Counter = {0, 0};
  Machine.CounterReads = 0;
  EXPECT_EQ (StoppedAt ([&] { AcquireSpinLock (&Lock); }), Source + "90 Total < Timeout");
  EXPECT_EQ (Lock, 1U);
}

} // namespace
