/// Hardware errors of each kind, from the hardware to the BMC.
#include "TestMachine.h"

#include <map>

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;

/// Machine checks by their status (Intel SDM, volume 3, 16.3.2.2 and 16.9.2).
constexpr UINT64 CacheCorrected = 0x9000'0000'0000'0135;
constexpr UINT64 CacheRecoverable = 0xB000'0000'0000'0135;
constexpr UINT64 CacheFatal = 0xB200'0000'0000'0135;
constexpr UINT64 MemoryCorrected = 0x9400'0000'0000'0090;
constexpr UINT64 MemoryWithoutAddress = 0x9000'0000'0000'0090;
constexpr UINT64 MemoryUncorrected = 0xB400'0000'0000'0090;

constexpr const char *NotFound = "FindRedFishId() Exiting - Device Not Found";

TEST (MachineEvents, OfPcieDevices)
{
  MachineOptions Options = MachineWithSwitch ();
  Options.Inventory = MachineInventory (Options) + "port 1 Port1\n";
  TestMachine Run (Options);
  Run.Machine.WaitUntilReady ();
  // What is uncorrected comes as an SMI of the root port. Nobody polls.
  const struct {
    const char *Device, *Error, *Event;
  } Uncorrected[] = {{"nv1", "MALF_TLP", "00 03 02 Slot1 00"},
                     {"nv2", "DLP", "00 03 02 Slot2 00"},
                     {"rp1", "MALF_TLP", "00 03 02 Port1 00"},
                     {"nv1", "COMP_TIME", "00 03 01 Slot1 00"},
                     {"nv2", "UNSUP", "00 03 01 Slot2 00"}};
  for (const auto &Row : Uncorrected) {
    SCOPED_TRACE (Row.Error);
    Run.Machine.InjectPcieError (Row.Device, Row.Error, false);
    EXPECT_EQ (Run.WaitForEvent (), Row.Event);
  }

  // What is corrected waits for a poll. The second one is masked at reset.
  Run.Machine.InjectPcieError ("nv2", "REP_TIMER", true);
  Run.Machine.Command ("poll 3");
  EXPECT_THAT (Run.TakeEvents (), ElementsAre ("00 03 01 Slot2 00"));
  Run.Machine.InjectPcieError ("nv2", "INTERNAL", true);
  Run.Machine.Command ("poll 2");
  EXPECT_THAT (Run.TakeEvents (), SizeIs (0));
  EXPECT_THAT (LinesWith (Run.Machine.DebugLog (), NotFound), SizeIs (0));

  // The slot of the third root port is not in the inventory.
  Run.Machine.InjectPcieError ("nv3", "MALF_TLP", false);
  Run.Machine.InjectPcieError ("nv3", "BAD_TLP", true);
  Run.Machine.Command ("poll 0");
  EXPECT_THAT (Run.TakeEvents (), SizeIs (0));
  EXPECT_THAT (LinesWith (Run.Machine.DebugLog (), NotFound), SizeIs (2));
}

TEST (MachineEvents, OfMachineChecksOnEachProcessor)
{
  TestMachine Run;
  Run.Machine.WaitUntilReady ();
  for (UINTN Processor = 0; Processor < 4; ++Processor) {
    SCOPED_TRACE (Processor);
    const UINTN Socket = Processor / 2;
    const std::string Memory = fmt::format ("CPU{}_C0_D0 00", Socket);
    const std::string Cpu = fmt::format ("CPU{} 00", Socket);
    const UINT64 Address = Socket * 0x8000000 + 0x1000;
    const auto Bank = [&] (UINT64 Status, UINT64 At) {
      Run.Machine.Command (fmt::format ("bank {} 7 {:x} {:x} 0", Processor, Status, At));
    };
    Bank (MemoryCorrected, Address);
    Bank (MemoryUncorrected, Address);
    Bank (CacheCorrected, 0);
    Bank (CacheRecoverable, 0);
    Bank (CacheFatal, 0);
    EXPECT_THAT (Run.TakeEvents (),
                 ElementsAre ("00 02 01 " + Memory, "00 02 02 " + Memory, "00 01 01 " + Cpu,
                              "00 01 01 " + Cpu, "00 01 02 " + Cpu));
    // These two are of no DIMM that is known to be on this socket.
    Bank (MemoryWithoutAddress, 0);
    Bank (MemoryCorrected, 0x8001000 - Address);
    EXPECT_THAT (Run.TakeEvents (), SizeIs (0));
    EXPECT_THAT (LinesWith (Run.Machine.DebugLog (), NotFound), SizeIs (2 * (Processor + 1)));

    // By the hand of the emulator. What is uncorrected comes as an exception, which nobody polls.
    const auto Inject = [&] (UINT64 Status, UINT64 McgStatus) {
      Run.Machine.InjectMachineCheck (Processor, 3, Status, McgStatus, Address, 0);
    };
    Inject (MemoryCorrected, 0);
    Run.Machine.Command (fmt::format ("poll {}", Processor));
    EXPECT_EQ (Run.WaitForEvent (), "00 02 01 " + Memory);
    for (const auto &[Status, Event] : {std::pair (MemoryUncorrected, "00 02 02 " + Memory),
                                        std::pair (CacheFatal, "00 01 02 " + Cpu)}) {
      Inject (Status, 5);
      EXPECT_EQ (Run.WaitForEvent (), Event);
      // The next exception must find the processor at rest.
      Run.Machine.Command (fmt::format ("poll {}", Processor));
    }
    EXPECT_THAT (Run.TakeEvents (), SizeIs (0));
  }
}

TEST (MachineEvents, OfAllProcessorsAtOnceComeOnceEach)
{
  // Without a BMC for which to wait they meet in the driver and in the pool.
  for (const BmcConnection Bmc : {BmcConnection::External, BmcConnection::None}) {
    MachineOptions Options = UsualMachine ();
    Options.ProcessorCount = 8;
    Options.Bmc = Bmc;
    Options.IsQuiet = Bmc == BmcConnection::None;
    TestMachine Run (Options);
    Run.Machine.WaitUntilReady ();
    const MachineState Before = Run.Machine.State ();
    Run.Machine.Command (fmt::format ("repeat {} all 4 {:x} 0 0 {:x} 0 0",
                                      Options.IsQuiet ? 200 : 10, CacheCorrected, CacheFatal));
    if (Run.Bmc) {
      std::map<std::string, int> Counts;
      for (const std::string &Event : Run.TakeEvents ()) {
        ++Counts[Event];
      }
      const std::map<std::string, int> Expected = {{"00 01 01 CPU0 00", 20},
                                                   {"00 01 02 CPU0 00", 20},
                                                   {"00 01 01 CPU1 00", 20},
                                                   {"00 01 02 CPU1 00", 20}};
      EXPECT_EQ (Counts, Expected);
    }
    const MachineState After = Run.Machine.State ();
    EXPECT_EQ (After.PoolBlocks, Before.PoolBlocks);
    EXPECT_EQ (After.PoolBytes, Before.PoolBytes);
    EXPECT_EQ (After.ChecksumNow, Before.ChecksumAtReady);
  }
}

TEST (MachineEvents, ComeFromEachDriver)
{
  for (const UINTN Drivers : {2U, 16U}) {
    SCOPED_TRACE (Drivers);
    MachineOptions Options = UsualMachine ();
    Options.DriverCount = Drivers;
    TestMachine Run (Options);
    Run.Machine.WaitUntilReady ();
    const MachineState Before = Run.Machine.State ();
    EXPECT_THAT (LinesWith (Run.Machine.DebugLog (), "resident"), SizeIs (Drivers + 1));
    Run.Machine.InjectPcieError ("nv1", "MALF_TLP", false);
    Run.Machine.Command (fmt::format ("bank 3 4 {:x} 0 0", CacheFatal));
    auto Events = Run.TakeEvents ();
    ASSERT_THAT (Events, SizeIs (2 * Drivers));
    const auto Middle = Events.begin () + static_cast<std::ptrdiff_t> (Drivers);
    EXPECT_THAT (std::vector (Events.begin (), Middle), Each ("00 03 02 Slot1 00"));
    EXPECT_THAT (std::vector (Middle, Events.end ()), Each ("00 01 02 CPU1 00"));
    const MachineState After = Run.Machine.State ();
    EXPECT_EQ (After.PoolBlocks, Before.PoolBlocks);
    EXPECT_EQ (After.ChecksumNow, Before.ChecksumAtReady);
  }
}

} // namespace
