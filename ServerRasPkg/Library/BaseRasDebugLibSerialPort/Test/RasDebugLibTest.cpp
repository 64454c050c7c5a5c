#include "RasDebugLib.h"

#include "CpuService.h"
#include "RasTestBench.h"
#include "Record/LoggingLock.h"
#include "SmmMpExtensionLib.h"

namespace {

constexpr UINTN Released = 1;
constexpr UINTN Acquired = 2;

class RasDebugLib : public RasTestBench {
public:
  RasDebugLib ()
  {
    SetLevelMask (0x70000000);
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

/// A level of no meaning but that the mask selects it.
constexpr UINTN Plain = 0x10000000;

TEST_F (RasDebugLib, SetsUpTheLocksAsTheFirstDriverOnly)
{
  for (const UINTN First : {Released, Acquired}) {
    EXPECT_EQ (RasDebugLibConstructor (), RETURN_SUCCESS);
    ExpectLocks (First, Released);
    Locks ()->FirstLock = Acquired;
  }
  EXPECT_EQ (Machine.Uart.Divisor, 1) << "the port is set up";
}

TEST_F (RasDebugLib, WritesEachLineUnderTheLocksOfItsLevel)
{
  const struct {
    UINTN Level;
    UINTN FirstBefore; ///< Of the first lock.
    UINTN Second;      ///< Of the second lock, while the line goes out.
    const char *Sent;
  } Rows[] = {
      {Plain, Released, Released, "text 7\r\n"},
      {Plain, Released, Acquired, "text 7\r\n"}, // beside another processor's urgent line
      {RAS_DEBUG_LOCATED, Released, Released, "S1 C2 T3 text 7\r\n"},
      {RAS_DEBUG_URGENT, Released, Acquired, "S1 C2 T3 text 7\r\n"},
      {RAS_DEBUG_URGENT, Acquired, Acquired, "S1 C2 T3 text 7\r\n"},
      {RAS_DEBUG_URGENT | RAS_DEBUG_LOCATED, Released, Acquired, "S1 C2 T3 text 7\r\n"},
  };
  RasDebugLibConstructor ();
  WatchedMachine Watched (Machine);
  gHostMachine = &Watched;
  for (const auto &Row : Rows) {
    SCOPED_TRACE (&Row - Rows);
    const UINTN SecondBefore = (Row.Level & RAS_DEBUG_URGENT) != 0 ? Released : Row.Second;
    Locks ()->FirstLock = Row.FirstBefore;
    Locks ()->SecondLock = SecondBefore;
    Watched.OnWrite = [&] { ExpectLocks (Acquired, Row.Second); };
    RasDebugPrint (Row.Level, "text %d\n", 7);
    EXPECT_EQ (TakeSent (), Row.Sent);
    ExpectLocks (Row.FirstBefore, SecondBefore);
  }
  gHostMachine = &Machine;
}

TEST_F (RasDebugLib, WaitsForTheLockOfItsLevelEvenWithoutAPort)
{
  const std::string Expired = "MdePkg/Library/BaseSynchronizationLib/SynchronizationMsc:90 "
                              "Total < Timeout";
  Machine.Uart.StayBusyForReads (70000);
  EXPECT_EQ (RasDebugLibConstructor (), RETURN_DEVICE_ERROR);
  Machine.Uart.StayBusyForReads (0);
  RasDebugPrint (Plain, "lost for good\n");
  ExpectLocks (Released, Released);
  InstallDebugService ();
  for (const UINTN Level : {Plain, RAS_DEBUG_URGENT}) {
    Locks ()->FirstLock = Level == Plain ? Acquired : Released;
    Locks ()->SecondLock = Level == Plain ? Released : Acquired;
    EXPECT_EQ (StoppedAt ([&] { RasDebugPrint (Level, "text\n"); }), Expired);
    EXPECT_EQ (Locks ()->FirstLock, Level == Plain ? Acquired : Released) << "not taken ahead";
  }
  EXPECT_EQ (TakeSent (), "");
}

TEST_F (RasDebugLib, MakesUpForItsConstructorUnlessTheMaskFiltersTheLine)
{
  RasDebugPrint (RAS_DEBUG_FLOW, "filtered\n");
  EXPECT_EQ (Locks (), nullptr);
  RasDebugPrint (Plain, "early\n");
  ExpectLocks (Released, Released);
  EXPECT_EQ (TakeSent (), "early\r\n");
  EXPECT_EQ (gFaultPlan.Calls[ServiceWhoAmI], 0U);
}

TEST_F (RasDebugLib, WritesWithoutLocksThatCannotBeHad)
{
  for (const UINTN Level : {Plain, RAS_DEBUG_URGENT}) {
    FaultPlanFail (ServiceSmmAllocatePool, 1, EFI_OUT_OF_RESOURCES);
    RasDebugPrint (Level, "text\n");
  }
  EXPECT_EQ (TakeSent (), "text\r\nS1 C2 T3 text\r\n");
  EXPECT_EQ (Locks (), nullptr);
}

TEST_F (RasDebugLib, WritesTextOfAnyLength)
{
  const std::string Long (600, 'x');
  RasDebugPrint (Plain, "%a", Long.c_str ());
  EXPECT_EQ (TakeSent (), Long.substr (0, 511));
  RasDebugPrint (RAS_DEBUG_LOCATED, "%a", Long.c_str ());
  EXPECT_EQ (TakeSent (), "S1 C2 T3 " + Long.substr (0, 502));
  RasDebugPrint (Plain, nullptr); // The formatter refuses.
  EXPECT_EQ (TakeSent (), "");

  AccessTranscript Accesses;
  Machine.Uart.Transcript = &Accesses;
  RasDebugPrint (Plain, "");
  EXPECT_EQ (Accesses, AccessTranscript{"io in 3FD 60"}) << "a flush";
}

} // namespace
