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
    EXPECT_EQ (Smm.LiveBlocks, Platform.SmmBlocks);
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
      const UINTN Calls = gFaultPlan.Calls[ServiceSmmAllocatePool];
      const CallResult Result = Platform.Report (Class.Record);
      EXPECT_EQ (EventText (Result), "");
      EXPECT_EQ (gFaultPlan.Calls[ServiceSmmAllocatePool], Calls + 1)
          << "no second device is tried";
      if (Debug == DebugWorld::Absent) {
        EXPECT_EQ (Result.Stopped, "");
        EXPECT_EQ (Result.Status, EFI_SUCCESS);
      } else {
        EXPECT_EQ (Result.Stopped, Class.Stopped);
        EXPECT_EQ (Result.Log.back ().Text.find ("Status: Out of Resources\n") == std::string::npos,
                   !Result.Stopped.empty ());
      }
      // The next error finds everything in order again.
      EXPECT_EQ (Platform.Report (Class.Record).Events.size (), 1U);
    }
  }
}

TEST (EventPool, ShowsAFailedReleaseInTheClosingLine)
{
  LoadedPlatform Platform (TwoSockets (Devices));
  FaultPlanFail (ServiceSmmFreePool, 1, EFI_DEVICE_ERROR);
  const CallResult Result = Platform.Report (Classes[0].Record);
  EXPECT_EQ (Result.Status, EFI_SUCCESS);
  EXPECT_EQ (Result.Log.back ().Text, "FindRedFishId() Exiting - Status: Device Error\n");
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
    BmcAnswer Answer;
    std::string Status, Code;
  } Rows[] = {
      {{EFI_SUCCESS, {0xC1}}, "Success", "0xC1"},
      {{EFI_SUCCESS, std::vector<UINT8> (252, 0xC9)}, "Success", "0xC9"},
      {{EFI_TIMEOUT, {}}, "Time out", "0xFF"},
      {{EFI_DEVICE_ERROR, {0xD2}}, "Device Error", "0xD2"},
  };
  LoadedPlatform Platform (TwoSockets (Devices));
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Code);
    Platform.World.Bmc = Row.Answer;
    const CallResult Result = Platform.Report (Classes[2].Record);
    EXPECT_EQ (Result.Status, EFI_SUCCESS);
    EXPECT_EQ (Result.Events.size (), 1U) << "sent once";
    EXPECT_TRUE (Result.Transcript ().ends_with (
        "QSM_OEM_IPMI_REDFISH_COMMAND Status :" + Row.Status +
        ", \n!!! --- IpmiTransportPpi->CommandCompletionCode:" + Row.Code +
        " --- !!!\nFindRedFishId() Exiting - Status: Success\n"))
        << Result.Transcript ();
    EXPECT_EQ (gPools[PoolSmm].LiveBlocks, Platform.SmmBlocks);
  }
}

TEST (ErrorPathFailures, EndInADroppedErrorOrAnAssertion)
{
  for (const DebugWorld Debug : {DebugWorld::Present, DebugWorld::Absent}) {
    for (const auto &Class : Classes) {
      // The N-th platform call of the path fails, for every N.
      bool Reached = true;
      for (UINTN Nth = 1; Reached; ++Nth) {
        SCOPED_TRACE (testing::Message () << Class.Name << " " << Nth);
        ASSERT_LT (Nth, 100U);
        LoadedPlatform Platform (TwoSockets (Devices), Debug);
        *Platform.Drivers[0]->Symbol<const InventoryInfo *> ("mInventoryInfo") = nullptr;
        gFaultPlan.AnyService = {.Call = gFaultPlan.AllCalls + Nth, .Status = EFI_DEVICE_ERROR};
        const CallResult Result = Platform.Report (Class.Record);
        Reached = gFaultPlan.AllCalls >= gFaultPlan.AnyService.Call;
        EXPECT_TRUE (Reached || Result.Events.size () == 1);
        if (!Result.Stopped.empty ()) {
          EXPECT_EQ (Debug, DebugWorld::Present);
          continue;
        }
        EXPECT_EQ (Result.Status, EFI_SUCCESS);
        // A block whose release failed is the firmware's to account for.
        EXPECT_EQ (gPools[PoolSmm].LiveBlocks,
                   Platform.SmmBlocks + gFaultPlan.Planned[ServiceSmmFreePool]);
      }
    }
  }
}

} // namespace
