#include "SimulatedPlatform.h"

#include <thread>

#include <gtest/gtest.h>

#include "AddressSanitizer.h"

namespace {

PlatformDescription
TwoProcessors ()
{
  const std::string Set (AllCpuidSets ().front ().Name);
  PlatformDescription Description;
  Description.Processors = {{.CpuidSet = Set, .ApicId = 0}, {.CpuidSet = Set, .ApicId = 0x20}};
  return Description;
}

/// A platform on which the test driver runs; its records are one letter.
class SimulatedPlatformTest : public testing::Test {
public:
  SimulatedPlatformTest ()
  {
    EXPECT_EQ (Platform.LoadDriver (TEST_DRIVER).Status, EFI_SUCCESS);
  }

  CallResult
  Report (char Letter, const ReportOptions &Options = {})
  {
    const UINT8 Record[] = {static_cast<UINT8> (Letter)};
    return Platform.Report (Record, Options);
  }

  SimulatedPlatform Platform{TwoProcessors ()};
};

TEST_F (SimulatedPlatformTest, GivesEachDriverStateOfItsOwn)
{
  Report ('-');
  EXPECT_EQ (Platform.LoadDriver (TEST_DRIVER).Status, EFI_SUCCESS);
  Report ('-');
  EXPECT_EQ (*Platform.Drivers[0]->Symbol<UINTN> ("gReportCount"), 2U);
  EXPECT_EQ (*Platform.Drivers[1]->Symbol<UINTN> ("gReportCount"), 1U);
  EXPECT_NE (Platform.Drivers[0]->ImageBase (), Platform.Drivers[1]->ImageBase ());
}

TEST_F (SimulatedPlatformTest, TellsWhereAProcessorStopped)
{
  const CallResult Result = Report ('a');
  EXPECT_EQ (Result.Stopped, "processor stopped at Test/Driver:12");
  EXPECT_EQ (Result.Transcript (), "ASSERT Test/Driver:12 Some != Other\n");
  EXPECT_EQ (Report ('-').Stopped, "");
}

TEST_F (SimulatedPlatformTest, RunsTheListenerOnTheReportingProcessor)
{
  EXPECT_EQ (Report ('c').Status, 0U);
  EXPECT_EQ (Report ('c', {.Processor = 1}).Status, 0x20U);
  const UINT64 Before = Report ('t').Status;
  EXPECT_EQ (Report ('t').Status, Before + Platform.Machine.TscStep);
  EXPECT_THROW (Report ('i'), MachineFault);
}

TEST_F (SimulatedPlatformTest, RecordsWhatTheBmcGetsFromEachProcessor)
{
  Platform.World.Bmc = {.Status = EFI_SUCCESS, .Response = {0xC1}};
  std::thread Other ([&] {
    for (int Index = 0; Index < 100; ++Index) {
      EXPECT_EQ (Report ('e', {.Processor = 1}).Events.size (), 1U);
    }
  });
  for (int Index = 0; Index < 100; ++Index) {
    const CallResult Result = Report ('e');
    EXPECT_EQ (Result.Status, 0xC1U);
    ASSERT_EQ (Result.Events.size (), 1U);
    EXPECT_EQ (Result.Events[0].Processor, 0U);
    EXPECT_EQ (Result.Events[0].Data, std::vector<UINT8>{'e'});
  }
  Other.join ();
}

TEST_F (SimulatedPlatformTest, CatchesAccessesOutsideRecordsAndBlocks)
{
  EXPECT_EQ (Report ('r', {.Placement = RecordPlacement::ZeroFilledPage}).Status, 0U);
  if constexpr (HasAddressSanitizer) {
    EXPECT_DEATH (Report ('r'), "heap-buffer-overflow");
    EXPECT_DEATH (Report ('p'), "use-after-poison");
  }
}

TEST (BlockArena, GivesReturnedMemoryOutAgain)
{
  BlockArena Arena (1024);
  std::vector<void *> Blocks;
  while (void *Block = Arena.Take (150)) {
    Blocks.push_back (Block);
  }
  ASSERT_EQ (Blocks.size (), 5U);
  EXPECT_EQ (Arena.Take (900), nullptr);
  for (const std::size_t Index : {1U, 3U, 2U, 0U, 4U}) {
    Arena.Return (Blocks[Index], 150);
  }
  EXPECT_NE (Arena.Take (900), nullptr);
}

} // namespace
