/// What becomes of errors when the BMC does not do its part: which ones it has, and what the
/// driver's log says of them.
#include "TestMachine.h"

#include <thread>

#include <gtest/gtest.h>

namespace {

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
  for (;;) {
    Run.Machine.Command (Error);
    if (const auto Events = Run.TakeEvents (); !Events.empty ()) {
      EXPECT_THAT (Events, ElementsAre (Event));
      EXPECT_EQ (LastAnswer (Run), Answer ("Success", "0x0"));
      return;
    }
    ASSERT_GT (Until.Left (), 0);
    std::this_thread::sleep_for (std::chrono::milliseconds (20));
  }
}

TEST (MachineBmc, IsNotWaitedForForEver)
{
  // A million polls are over long before the emulator's own 4 s in a time that counts instructions,
  // and these 4 s pass at once when the machine rests.
  MachineOptions Options = UsualMachine ();
  Options.CountsInstructions = true;
  TestMachine Run (Options);
  Run.Machine.WaitUntilReady ();
  const struct {
    const char *Mode, *Status, *Code;
    bool IsKept; ///< Whether the BMC has the event all the same.
  } Rows[] = {
      {"normal", "Success", "0x0", true},
      {"mute", "Time out", "0xFF", true},
      {"late", "Time out", "0xFF", true},
      {"refuse 0xD5", "Success", "0xD5", false},
      {"garbage checksum", "Time out", "0xFF", true},
      {"garbage short", "Time out", "0xFF", true},
      {"garbage foreign", "Time out", "0xFF", true},
      {"garbage long", "Success", "0xC6", true},
      {"garbage noise", "Time out", "0xFF", true},
  };
  const MachineState Before = Run.Machine.State ();
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Mode);
    Run.Bmc->SetMode (Row.Mode);
    Run.Machine.Command (Error);
    EXPECT_EQ (LastAnswer (Run), Answer (Row.Status, Row.Code));
    EXPECT_THAT (Run.TakeEvents (), SizeIs (Row.IsKept));
    Run.Bmc->ReleaseAnswer ();
    Run.Bmc->SetMode ("normal");
    ExpectRecovery (Run);
  }

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
  const MachineState After = Run.Machine.State ();
  EXPECT_EQ (After.PoolBlocks, Before.PoolBlocks);
  EXPECT_EQ (After.ChecksumNow, Before.ChecksumAtReady);
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
