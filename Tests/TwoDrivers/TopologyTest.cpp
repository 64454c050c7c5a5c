/// What the drivers of one boot share of the platform's topology.

#include "TestPlatform.h"
#include "TestRecords.h"

#include <sys/mman.h>

#include "FaultPlan.h"
#include "HandOffRecords.h"
#include "Pool.h"
#include "ProtocolDatabase.h"
#include "Record/IioTopologyStore.h"
#include "Record/UpiHostData.h"
#include "StatusCodeRouter.h"
#include "TopologyStore.h"

namespace {

/// A driver's own pointer of that name.
template <typename Type>
Type *
Bound (const DriverInstance &Driver, const char *Name)
{
  return *Driver.Symbol<Type *> (Name);
}

/// What all drivers of one boot find at the same place.
const char *const SharedPointers[] = {"mPrivate", "mSmmKtiProtocol", "mIioTopology",
                                      "mSystemInfoRecord"};

Bytes
IioStore (const DriverInstance &Driver)
{
  const auto *Store = Bound<UINT8> (Driver, "mIioTopology");
  return {Store, Store + sizeof (IioTopologyStore)};
}

/// What the store has to hold.
Bytes
ExpectedStore (SimulatedPlatform &Platform, bool IsRefreshed)
{
  const auto *Upi = Bound<UpiHostDataBlock> (*Platform.Drivers[0], "mSmmKtiProtocol");
  return StoreOf (HandOffIioPolicy (), &Upi->HostRecord, &gSystemInfo, Platform.Machine,
                  IsRefreshed);
}

/// Unloads the last driver. Its addresses stay out of use: whoever calls into it crashes.
void
UnloadLastDriver (SimulatedPlatform &Platform)
{
  constexpr UINTN PageSize = 4096;
  VOID *const Base = Platform.Drivers.back ()->ImageBase ();
  const UINTN Data = reinterpret_cast<UINTN> (Platform.Drivers.back ()->Symbol<VOID> ("gSmst"));
  const UINTN Size = (Data - reinterpret_cast<UINTN> (Base) + PageSize) / PageSize * PageSize;
  Platform.Drivers.pop_back ();
  EXPECT_EQ (mmap (Base, Size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0),
             Base)
      << "something of it is still there";
}

TEST (TwoDrivers, ShareOneTopologyThatIsFinalAfterReadyToLock)
{
  SimulatedPlatform Platform (FourSockets ());
  Platform.LoadDriver ();
  EXPECT_EQ (ProtocolNotificationCount (), 2U) << "static pointers and IIO topology";
  EXPECT_EQ (Platform.LoadDriver ().Stopped, "");
  EXPECT_EQ (ProtocolNotificationCount (), 3U) << "static pointers alone";
  const DriverInstance &First = *Platform.Drivers[0];
  for (const char *Name : SharedPointers) {
    EXPECT_EQ (Bound<VOID> (First, Name), Bound<VOID> (*Platform.Drivers[1], Name)) << Name;
  }
  EXPECT_EQ (IioStore (First), ExpectedStore (Platform, false));
  EXPECT_EQ (Platform.SignalReadyToLock ().Stopped, "");
  EXPECT_EQ (IioStore (First), ExpectedStore (Platform, true));

  const auto *Table = Bound<StaticPointerTable> (First, "mPrivate");
  EXPECT_EQ (Table->Sanitized, 1);
  EXPECT_NE (Table->Pointers[SptSysHost], 0U);
  for (const UINT64 Pointer : Table->Pointers) {
    const PoolMemory &Smm = gWorld.Pools[PoolSmm];
    EXPECT_TRUE (Pointer == 0 || Pointer - reinterpret_cast<UINT64> (Smm.Start) < Smm.Size)
        << Pointer;
  }

  // Whoever writes to a block of the boot ends the process; those of the errors lie behind them.
  const auto Protect = [] (int Access) {
    for (const PoolKind Kind : {PoolSmm, PoolBoot}) {
      UINTN &Used = gPools[Kind].Cursor;
      Used = (Used + 4095) / 4096 * 4096;
      ASSERT_EQ (mprotect (gWorld.Pools[Kind].Start, Used, Access), 0);
    }
  };
  Protect (PROT_READ);
  EXPECT_DEATH (Bound<volatile UINT8> (First, "mIioTopology")[2663] = 0, "");
  for (UINTN Error = 0; Error < 100; ++Error) {
    for (const auto &Record :
         {ProcessorRecord (CperSeverityFatal), MemoryRecord (CperSeverityCorrected, 3, 7, 0),
          PcieRecord (CperSeverityFatal, 0xF5, 0, 0)}) {
      EXPECT_EQ (Platform.Report (Record, {.Processor = Error % 16}).Events.size (), 2U);
    }
  }
  Protect (PROT_READ | PROT_WRITE);
}

TEST (TwoDrivers, LeaveNothingToCallInOneThatIsGone)
{
  // Whether each driver of the boot stays.
  const std::vector<bool> Orders[] = {{false, true}, {true, false}, {true, false, true}};
  for (const std::vector<bool> &Order : Orders) {
    SCOPED_TRACE (testing::PrintToString (Order));
    BootedPlatform Platform (FourSockets (), DebugWorld::Absent);
    UINTN Loaded = 0;
    std::string Store;
    for (const bool Stays : Order) {
      if (!Stays) {
        FaultPlanFail (ServiceRegisterListener, 1, EFI_DEVICE_ERROR);
      }
      EXPECT_EQ (Platform.LoadDriver ().Status, Stays ? EFI_SUCCESS : EFI_DEVICE_ERROR);
      if (!Stays) {
        UnloadLastDriver (Platform);
      }
      const UINTN Resident = Platform.Drivers.size ();
      EXPECT_EQ (StatusCodeListenerCount (), Resident);
      EXPECT_EQ (ProtocolNotificationCount (), Resident + Order[0]);
      EXPECT_EQ (gPools[PoolSmm].LiveBlocks + gPools[PoolBoot].LiveBlocks, 10 + ++Loaded + Resident)
          << "seven buffers, the UPI block, the static pointers and the block to which they lead; "
             "each driver's table of processors; the SMRAM map of each that has stayed";
      EXPECT_EQ (StoreText (), Store.empty () ? Store = StoreText () : Store);
    }

    EXPECT_EQ (Platform.SignalReadyToLock ().Stopped, "");
    for (const auto &Driver : Platform.Drivers) {
      EXPECT_EQ (IioStore (*Driver), ExpectedStore (Platform, Order[0]))
          << "refreshed by the driver that made it, if that one has stayed";
      EXPECT_EQ (Bound<StaticPointerTable> (*Driver, "mPrivate")->Sanitized, 1);
    }
    EXPECT_EQ (Platform.Report (MemoryRecord (CperSeverityCorrected, 3, 7, 0)).Events.size (),
               Platform.Drivers.size ());
  }
}

} // namespace
