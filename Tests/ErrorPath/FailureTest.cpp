/// What becomes of an error when the platform lets the driver down.

#include "TestPlatform.h"
#include "TestRecords.h"

#include "FaultPlan.h"
#include "Pool.h"
#include "ProtocolDatabase.h"
#include "Record/Inventory.h"

namespace {

const std::vector<PlatformDescription::Device> Devices = {
    ProcessorDevice ("cpu", 0),
    MemoryDevice ("dimm", 0, 0, 0),
    PcieDevice ("card", 0, 0, 0),
    MemoryDevice ("same dimm again", 0, 0, 0),
};

const struct {
  const char *Name;
  std::vector<UINT8> Record;
  EFI_MEMORY_TYPE PoolType;
  const char *Stopped; ///< Where a failed allocation stops the processor.
} Classes[] = {
    {"processor", ProcessorRecord (1), EfiRuntimeServicesData,
     "processor stopped at VelmoraQsmErrorHandler/VelmoraQsmErrorHandler:143"},
    {"memory", MemoryRecord (1, 0, 0, 0), EfiRuntimeServicesData, ""},
    {"pcie", PcieRecord (1, 0, 0, 0), EfiRuntimeServicesCode, ""},
};

TEST (EventPool, IsOneBlockOfTheClassThatIsGivenBack)
{
  LoadedPlatform Platform (TwoSockets (Devices));
  const Pool &Smm = gPools[PoolSmm];
  for (const auto &Class : Classes) {
    SCOPED_TRACE (Class.Name);
    const UINTN Allocations = Smm.Allocations;
    const UINTN Place = Smm.NextPlace;
    EXPECT_EQ (Platform.Report (Class.Record).Events.size (), 1U);
    EXPECT_EQ (Smm.Allocations, Allocations + 1);
    EXPECT_EQ (Smm.LiveBlocks, 0U);
    EXPECT_EQ (Smm.Blocks[Place].Size, 150U);
    EXPECT_EQ (Smm.Blocks[Place].Type, Class.PoolType);
  }
}

TEST (EventPool, DropsTheErrorWhenItIsExhausted)
{
  for (const DebugWorld Debug : {DebugWorld::Present, DebugWorld::Absent}) {
    for (const auto &Class : Classes) {
      SCOPED_TRACE (Class.Name);
      LoadedPlatform Platform (TwoSockets (Devices), Debug);
      FaultPlanFail (ServiceSmmAllocatePool, 1, EFI_OUT_OF_RESOURCES);
      const CallResult Result = Platform.Report (Class.Record);
      EXPECT_EQ (EventText (Result), "");
      EXPECT_EQ (gFaultPlan.Planned[ServiceSmmAllocatePool], 1U) << "no second device is tried";
      if (Debug == DebugWorld::Absent) {
        EXPECT_EQ (Result.Stopped, "");
        EXPECT_EQ (Result.Status, EFI_SUCCESS);
      } else {
        EXPECT_EQ (Result.Stopped, Class.Stopped);
        const std::string Last = Result.Log[Result.Log.size () - 1].Text;
        if (*Class.Stopped == '\0') {
          EXPECT_EQ (Last, "FindRedFishId() Exiting - Status: Out of Resources\n");
        }
      }

      // The next error finds everything in order again.
      EXPECT_EQ (Platform.Report (Class.Record).Events.size (), 1U);
    }
  }
}

TEST (LostInventory, IsSearchedAgainByTheNextError)
{
  for (const DebugWorld Debug : {DebugWorld::Present, DebugWorld::Absent}) {
    LoadedPlatform Platform (TwoSockets (Devices), Debug);
    *Platform.Drivers[0]->Symbol<const InventoryInfo *> ("mInventoryInfo") = nullptr;
    // Without a service each of the two messages ahead of the search searches too.
    FaultPlanFail (ServiceSmmLocateProtocol, Debug == DebugWorld::Present ? 1 : 3, EFI_NOT_FOUND);
    const CallResult Result = Platform.Report (Classes[2].Record);
    EXPECT_EQ (EventText (Result), "");
    if (Debug == DebugWorld::Present) {
      EXPECT_EQ (Result.Stopped,
                 "processor stopped at VelmoraQsmErrorHandler/VelmoraQsmErrorHandler:102");
    } else {
      EXPECT_EQ (Result.Status, EFI_SUCCESS);
      EXPECT_EQ (*Platform.Drivers[0]->Symbol<const InventoryInfo *> ("mInventoryInfo"), nullptr);
    }
    EXPECT_EQ (Platform.Report (Classes[2].Record).Events.size (), 1U);
  }
}

TEST (IpmiAnswer, IsLoggedAndNothingFollowsFromIt)
{
  const struct {
    const char *Name;
    BmcAnswer Answer;
    std::string Lines;
  } Rows[] = {
      {
          "refused",
          {EFI_SUCCESS, {0xC1}},
          "Status :Success, \n",
      },
      {"long answer", {EFI_SUCCESS, std::vector<UINT8> (252, 0xC9)}, "Status :Success, \n"},
      {"time-out", {EFI_TIMEOUT, {}}, "Status :Time out, \n"},
      {"error after a byte", {EFI_DEVICE_ERROR, {0xD2}}, "Status :Device Error, \n"},
  };
  const char *Codes[] = {"0xC1", "0xC9", "0xFF", "0xD2"};
  LoadedPlatform Platform (TwoSockets (Devices));
  UINTN Index = 0;
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Name);
    Platform.World.Bmc = Row.Answer;
    const CallResult Result = Platform.Report (Classes[2].Record);
    EXPECT_EQ (Result.Status, EFI_SUCCESS);
    EXPECT_EQ (Result.Events.size (), 1U) << "sent once";
    EXPECT_NE (Result.Transcript ().find (
                   "QSM_OEM_IPMI_REDFISH_COMMAND " + Row.Lines +
                   "!!! --- IpmiTransportPpi->CommandCompletionCode:" + Codes[Index++] +
                   " --- !!!\nFindRedFishId() Exiting - Status: Success\n"),
               std::string::npos)
        << Result.Transcript ();
    EXPECT_EQ (gPools[PoolSmm].LiveBlocks, 0U);
  }
}

/// Reports the error with the N-th platform call of its path failing, for every N.
void
FailEveryCall (const std::vector<UINT8> &Record, DebugWorld Debug)
{
  for (UINTN Nth = 1;; ++Nth) {
    SCOPED_TRACE (Nth);
    ASSERT_LT (Nth, 100U);
    LoadedPlatform Platform (TwoSockets (Devices), Debug);
    *Platform.Drivers[0]->Symbol<const InventoryInfo *> ("mInventoryInfo") = nullptr;
    gFaultPlan.AnyService = {.Call = gFaultPlan.AllCalls + Nth, .Status = EFI_DEVICE_ERROR};
    const CallResult Result = Platform.Report (Record);
    const bool Reached = gFaultPlan.AllCalls >= gFaultPlan.AnyService.Call;
    if (Result.Stopped.empty ()) {
      EXPECT_EQ (Result.Status, EFI_SUCCESS);
    } else {
      EXPECT_EQ (Debug, DebugWorld::Present);
    }
    // A block whose release failed is the firmware's to account for.
    if (gFaultPlan.Planned[ServiceSmmFreePool] == 0 && Result.Stopped.empty ()) {
      EXPECT_EQ (gPools[PoolSmm].LiveBlocks, 0U);
    }
    if (!Reached) {
      EXPECT_EQ (Result.Events.size (), 1U);
      return;
    }
  }
}

TEST (ErrorPathFailures, EndInADroppedErrorOrAnAssertion)
{
  for (const auto &Class : Classes) {
    SCOPED_TRACE (Class.Name);
    FailEveryCall (Class.Record, DebugWorld::Present);
    FailEveryCall (Class.Record, DebugWorld::Absent);
  }
}

} // namespace
