/// What the drivers of one boot share of the platform's topology.

#include "TestPlatform.h"

#include "FaultPlan.h"
#include "Protocol/SmmDebugService.h"
#include "ProtocolDatabase.h"
#include "Record/IioTopologyStore.h"

namespace {

/// A driver's own pointer of that name.
template <typename Type>
Type *
Bound (const SimulatedPlatform &Platform, UINTN Driver, const char *Name)
{
  return *Platform.Drivers[Driver]->Symbol<Type *> (Name);
}

/// The bus behind the first bridge, or 0 before SmmReadyToLock.
UINT8
FirstSecondaryBus (const SimulatedPlatform &Platform)
{
  return Bound<IioTopologyStore> (Platform, 0, "mIioTopology")->Socket[0].Port[0].SecondaryBus;
}

TEST (TwoDrivers, ShareOneTopologyThatIsRefreshedOnce)
{
  SimulatedPlatform Platform (TwoSockets ({}));
  Platform.LoadDriver ();
  EXPECT_EQ (ProtocolNotificationCount (), 2U) << "static pointers and IIO topology";
  EXPECT_EQ (Platform.LoadDriver ().Stopped, "");
  EXPECT_EQ (ProtocolNotificationCount (), 3U) << "static pointers alone";
  for (const char *Name : {"mPrivate", "mSmmKtiProtocol", "mIioTopology", "mSystemInfoRecord"}) {
    EXPECT_NE (Bound<VOID> (Platform, 0, Name), nullptr) << Name;
    EXPECT_EQ (Bound<VOID> (Platform, 0, Name), Bound<VOID> (Platform, 1, Name)) << Name;
  }
  EXPECT_EQ (FirstSecondaryBus (Platform), 0);
  EXPECT_EQ (Platform.SignalReadyToLock ().Transcript (),
             "VelmoraQsmErrorHandler: Sanitizing non-SMRAM pointers in SysHostPointerLib\n"
             "VelmoraQsmErrorHandler: Done sanitizing non-SMRAM pointers\n");
  EXPECT_EQ (FirstSecondaryBus (Platform), 1);
}

TEST (TwoDrivers, LeaveNothingToCallInOneThatIsGone)
{
  SimulatedPlatform Platform (TwoSockets ({}));
  ProtocolRemove (ProtocolSmm, &gSmmDebugServiceProtocolGuid);
  FaultPlanFail (ServiceRegisterListener, 1, EFI_DEVICE_ERROR);
  EXPECT_EQ (Platform.LoadDriver ().Status, EFI_DEVICE_ERROR);
  EXPECT_EQ (Platform.LoadDriver ().Status, EFI_SUCCESS);
  Platform.Drivers.erase (Platform.Drivers.begin ());
  EXPECT_EQ (Platform.SignalReadyToLock ().Stopped, "");
  EXPECT_EQ (FirstSecondaryBus (Platform), 0) << "the driver that would have filled it is gone";
}

} // namespace
