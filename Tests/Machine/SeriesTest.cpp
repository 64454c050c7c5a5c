/// Thousands of errors in a row.
#include "TestMachine.h"

#include <cstdlib>

#include <gtest/gtest.h>

namespace {

/// QSM_SERIES_COUNT asks for another number of series than that of each build.
UINTN
SeriesCount ()
{
  const char *Count = std::getenv ("QSM_SERIES_COUNT");
  return Count != nullptr ? std::stoull (Count) : 100;
}

TEST (MachineSeries, ArrivesInOrderAndLeavesNothing)
{
  MachineOptions Options = UsualMachine ();
  Options.IsQuiet = true;
  TestMachine Run (Options);
  Run.Machine.WaitUntilReady ();
  const MachineState Before = Run.Machine.State ();
  UINT64 Sequence = 0;
  for (UINTN Series = 0; Series < SeriesCount (); ++Series) {
    // A fatal error of the cache and a corrected one of the memory in turn, on the second socket.
    Run.Machine.Command ("repeat 100 2 4 b200000000000135 0 0 9400000000000090 8001000 0");
    const std::vector<BmcEvent> Events =
        Run.Machine.Guard ("events", [&] { return Run.Bmc->TakeEvents (); });
    ASSERT_EQ (Events.size (), 100U);
    for (const BmcEvent &Event : Events) {
      ASSERT_EQ (Event.Sequence, ++Sequence);
      ASSERT_EQ (Event.Bytes, Sequence % 2 == 1 ? "00 01 02 43 50 55 31 00"
                                                : "00 02 01 43 50 55 31 5F 43 30 5F 44 30 00");
    }
  }
  // The checksum goes over what is read-only since SmmReadyToLock; of the pool, the blocks count.
  const MachineState After = Run.Machine.State ();
  EXPECT_EQ (After.PoolBlocks, Before.PoolBlocks);
  EXPECT_EQ (After.PoolBytes, Before.PoolBytes);
  EXPECT_EQ (After.ChecksumNow, Before.ChecksumAtReady);
}

} // namespace
