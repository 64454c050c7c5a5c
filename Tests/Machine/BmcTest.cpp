/// What becomes of errors when the BMC does not do its part: which ones it has, and what the
/// driver's log says of them.
#include "TestMachine.h"

#include <thread>

#include <gtest/gtest.h>

namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::SizeIs;

/// A fatal error of the second processor's cache.
constexpr const char *Error = "bank 1 4 b200000000000135 0 0";
constexpr const char *Event = "00 01 02 CPU0 00";

/// What the driver's log says of the answer to its last event.
std::string
LastAnswer (const TestMachine &Run)
{
  const std::string Log = Run.Machine.DebugLog ();
  const std::vector<std::string> Status = LinesWith (Log, "Status :");
  const std::vector<std::string> Code = LinesWith (Log, "CommandCompletionCode:");
  return Status.empty () || Code.empty () ? "none" : Status.back () + Code.back ();
}

std::string
Answer (const std::string &Status, const std::string &Code)
{
  return "Status :" + Status + ", CommandCompletionCode:" + Code + " --- !!!";
}

/// Raises errors until one arrives at a BMC that is sound again. Those before are lost.
void
ExpectRecovery (TestMachine &Run)
{
  const Deadline Until (Run.Options.Patience);
  std::vector<std::string> Events;
  while (Events.empty ()) {
    ASSERT_GT (Until.Left (), 0);
    std::this_thread::sleep_for (std::chrono::milliseconds (20));
    Run.Machine.Command (Error);
    Events = Run.TakeEvents ();
  }
  EXPECT_THAT (Events, ElementsAre (Event));
  EXPECT_EQ (LastAnswer (Run), Answer ("Success", "0x0"));
}

TEST (MachineBmc, IsNotWaitedForForEver)
{
  // Of a BMC that does not answer either the machine gets tired, after a million polls, or the
  // emulator itself, after 4 s.
  const auto Tired = AnyOf (Answer ("Time out", "0xFF"), Answer ("Success", "0xC3"));
  const struct {
    const char *Mode;
    testing::Matcher<std::string> Answer;
    bool IsKept;             ///< Whether the BMC has the event all the same.
    bool IsLikeMute = false; ///< The emulator drops what the BMC answers.
  } Rows[] = {
      {"normal", Answer ("Success", "0x0"), true},
      {"refuse 0xD5", Answer ("Success", "0xD5"), false},
      {"garbage long", Answer ("Success", "0xC6"), true},
      {"garbage foreign", Tired, true},
      {"garbage checksum", Tired, true, true},
      {"late", Tired, true},
      {"mute", Tired, true},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Mode);
    TestMachine Run;
    Run.Machine.WaitUntilReady ();
    const MachineState Before = Run.Machine.State ();
    Run.Bmc->SetMode (Row.Mode);
    Run.Machine.Command (Error);
    EXPECT_THAT (LastAnswer (Run), Row.Answer);
    EXPECT_THAT (Run.TakeEvents (), SizeIs (Row.IsKept));
    Run.Bmc->SetMode ("normal");
    if (Row.Mode == std::string ("late")) {
      EXPECT_TRUE (Run.Bmc->ReleaseAnswer ());
    }
    if (!Row.IsLikeMute) {
      ExpectRecovery (Run);
    }
    const MachineState After = Run.Machine.State ();
    EXPECT_EQ (After.PoolBlocks, Before.PoolBlocks);
    EXPECT_EQ (After.ChecksumNow, Before.ChecksumAtReady);
  }
}

TEST (MachineBmc, MayRestart)
{
  TestMachine Run;
  Run.Machine.WaitUntilReady ();
  Run.Machine.Command (Error);
  EXPECT_THAT (Run.TakeEvents (), SizeIs (1));
  // It crashes while the processor waits for it. The event of then is there, the others are lost.
  Run.Bmc->SetMode ("mute");
  Run.Machine.InjectPcieError ("nv1", "MALF_TLP", false);
  EXPECT_EQ (Run.WaitForEvent (), "00 03 02 Slot1 00");
  Run.Bmc->Kill ();
  for (const char *Next : {"poll 0", Error, Error}) {
    Run.Machine.Command (Next);
    EXPECT_EQ (LastAnswer (Run), Answer ("Success", "0xD2")) << Next;
  }
  Run.Bmc->Start ();
  ExpectRecovery (Run);
}

TEST (MachineBmc, MayBeAbsentOrKnowNoSuchCommand)
{
  for (const auto &[Bmc, Expected] :
       {std::pair (BmcConnection::None, Answer ("Not Found", "0xFF")),
        std::pair (BmcConnection::Simulated, Answer ("Success", "0xC1"))}) {
    MachineOptions Options = UsualMachine ();
    Options.Bmc = Bmc;
    TestMachine Run (Options);
    Run.Machine.WaitUntilReady ();
    Run.Machine.Command (Error);
    EXPECT_EQ (LastAnswer (Run), Expected);
  }
}

} // namespace
