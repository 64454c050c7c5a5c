#include "RasDebugLib.h"

#include <functional>

#include "CpuService.h"
#include "RasTestBench.h"
#include "Record/LoggingLock.h"
#include "SmmMpExtensionLib.h"

namespace {

constexpr UINTN Released = 1;
constexpr UINTN Acquired = 2;

/// The machine of the bench, watched while it is written to.
class WatchedMachine : public HostMachine {
public:
  explicit WatchedMachine (SimulatedMachine &Watched) : Machine (Watched) {}

  UINT8
  IoRead8 (UINT16 Port) override
  {
    return Machine.IoRead8 (Port);
  }

  void
  IoWrite8 (UINT16 Port, UINT8 Value) override
  {
    OnWrite ();
    Machine.IoWrite8 (Port, Value);
  }

  SimulatedMachine &Machine;
  std::function<void ()> OnWrite = [] {};
};

class RasDebugLib : public RasTestBench {
public:
  RasDebugLib ()
  {
    mSmmCpuService = &gCpuService;
    World.Processors[0] = {.ProcessorId = 0x85, .Package = 1, .Core = 2, .Thread = 3};
    Machine.Processor (0).Msrs[0xCE] = 0x100;
    Machine.TscStep = 1000000000;
  }

  /// The shared locks; null while there are none.
  static LoggingLockBuffer *
  Locks ()
  {
    return SharedBuffer<LoggingLockBuffer> (LoggingLockName);
  }

  static void
  ExpectLocks (UINTN First, UINTN Second)
  {
    EXPECT_EQ (Locks ()->FirstLock, First);
    EXPECT_EQ (Locks ()->SecondLock, Second);
  }
};

/// All levels. A mask of all ones would not count.
constexpr UINT32 AllLevels = 0x7FFFFFFF;

TEST_F (RasDebugLib, SetsUpTheLocksAsTheFirstDriverOnly)
{
  EXPECT_EQ (RasDebugLibConstructor (), RETURN_SUCCESS);
  ExpectLocks (Released, Released);
  EXPECT_EQ (Machine.Uart.Divisor, 1) << "the port is set up";
  Locks ()->FirstLock = Acquired;
  EXPECT_EQ (RasDebugLibConstructor (), RETURN_SUCCESS);
  ExpectLocks (Acquired, Released);
}

TEST_F (RasDebugLib, WritesEachLineUnderTheLocksOfItsLevel)
{
  const struct {
    const char *Name;
    UINTN Level;
    UINTN FirstBefore; ///< Of the first lock.
    const char *Sent;
    UINTN Second; ///< Of the second lock, while the line goes out.
  } Rows[] = {
      {"ordinary", RAS_DEBUG_FLOW, Released, "text 7\r\n", Released},
      {"located", RAS_DEBUG_LOCATED, Released, "S1 C2 T3 text 7\r\n", Released},
      {"urgent", RAS_DEBUG_URGENT, Released, "S1 C2 T3 text 7\r\n", Acquired},
      {"urgent over another line", RAS_DEBUG_URGENT, Acquired, "S1 C2 T3 text 7\r\n", Acquired},
      {"both", RAS_DEBUG_URGENT | RAS_DEBUG_LOCATED, Released, "S1 C2 T3 text 7\r\n", Acquired},
  };
  SetLevelMask (AllLevels);
  RasDebugLibConstructor ();
  WatchedMachine Watched (Machine);
  gHostMachine = &Watched;
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Name);
    Locks ()->FirstLock = Row.FirstBefore;
    Watched.OnWrite = [&] { ExpectLocks (Acquired, Row.Second); };
    RasDebugPrint (Row.Level, "text %d\n", 7);
    EXPECT_EQ (TakeSent (), Row.Sent);
    ExpectLocks (Row.FirstBefore, Released);
  }
  EXPECT_EQ (gFaultPlan.Calls[ServiceWhoAmI], 4U);
}

TEST_F (RasDebugLib, WaitsForTheLockOfItsLevel)
{
  SetLevelMask (AllLevels);
  RasDebugLibConstructor ();
  InstallDebugService ();
  const std::string Expired = "MdePkg/Library/BaseSynchronizationLib/SynchronizationMsc:90 "
                              "Total < Timeout";
  *Locks () = {.FirstLock = Acquired, .SecondLock = Released};
  EXPECT_EQ (StoppedAt ([] { RasDebugPrint (RAS_DEBUG_FLOW, "text\n"); }), Expired);
  ExpectLocks (Acquired, Released);
  *Locks () = {.FirstLock = Released, .SecondLock = Acquired};
  EXPECT_EQ (StoppedAt ([] { RasDebugPrint (RAS_DEBUG_URGENT, "text\n"); }), Expired);
  ExpectLocks (Released, Acquired);
  EXPECT_EQ (TakeSent (), "");
}

TEST_F (RasDebugLib, DoesNothingForALineThatTheMaskFilters)
{
  SetLevelMask (~static_cast<UINT32> (RAS_DEBUG_URGENT));
  RasDebugPrint (RAS_DEBUG_URGENT, "text\n");
  EXPECT_EQ (Locks (), nullptr);
  EXPECT_EQ (gFaultPlan.Calls[ServiceWhoAmI], 0U);
}

TEST_F (RasDebugLib, MakesUpForItsConstructor)
{
  SetLevelMask (AllLevels);
  RasDebugPrint (RAS_DEBUG_FLOW, "early\n");
  EXPECT_EQ (TakeSent (), "early\r\n");
  ExpectLocks (Released, Released);
}

TEST_F (RasDebugLib, WritesWithoutLocksThatCannotBeHad)
{
  SetLevelMask (AllLevels);
  for (const UINTN Level : {RAS_DEBUG_FLOW, RAS_DEBUG_URGENT}) {
    FaultPlanFail (ServiceSmmAllocatePool, 1, EFI_OUT_OF_RESOURCES);
    RasDebugPrint (Level, "text\n");
  }
  EXPECT_EQ (TakeSent (), "text\r\nS1 C2 T3 text\r\n");
  EXPECT_EQ (Locks (), nullptr);

  InstallDebugService ();
  FaultPlanFail (ServiceSmmAllocatePool, 1, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ (StoppedAt ([] { RasDebugPrint (RAS_DEBUG_FLOW, "lost\n"); }),
             "ServerRasPkg/Library/BaseRasDebugLibSerialPort/RasDebugLib:62 "
             "mLoggingLock != ((void *) 0)");
  RasDebugPrint (RAS_DEBUG_FLOW, "found\n");
  EXPECT_NE (Locks (), nullptr) << "each line tries again";
}

TEST_F (RasDebugLib, CutsALineAt511Characters)
{
  SetLevelMask (AllLevels);
  const std::string Long (600, 'x');
  RasDebugPrint (RAS_DEBUG_FLOW, "%a", Long.c_str ());
  EXPECT_EQ (TakeSent (), Long.substr (0, 511));
  RasDebugPrint (RAS_DEBUG_LOCATED, "%a", Long.c_str ());
  EXPECT_EQ (TakeSent (), "S1 C2 T3 " + Long.substr (0, 502));
}

TEST_F (RasDebugLib, DropsItsTextOnceThePortIsStuck)
{
  SetLevelMask (AllLevels);
  Machine.Uart.StayBusyForReads (70000);
  EXPECT_EQ (RasDebugLibConstructor (), RETURN_DEVICE_ERROR);
  Machine.Uart.StayBusyForReads (0);
  RasDebugPrint (RAS_DEBUG_URGENT, "lost\n");
  EXPECT_EQ (TakeSent (), "");
  ExpectLocks (Released, Released);

  InstallDebugService ();
  Locks ()->FirstLock = Acquired;
  EXPECT_NE (StoppedAt ([] { RasDebugPrint (RAS_DEBUG_FLOW, "lost\n"); }), "")
      << "the locks are taken all the same";
}

TEST_F (RasDebugLib, FlushesThePortForAnEmptyText)
{
  SetLevelMask (AllLevels);
  RasDebugLibConstructor ();
  AccessTranscript Accesses;
  Machine.Uart.Transcript = &Accesses;
  RasDebugPrint (RAS_DEBUG_FLOW, "");
  EXPECT_EQ (Accesses, AccessTranscript{"io in 3FD 60"});
  RasDebugPrint (RAS_DEBUG_FLOW, nullptr); // The formatter refuses.
  EXPECT_EQ (TakeSent (), "");
}

} // namespace
