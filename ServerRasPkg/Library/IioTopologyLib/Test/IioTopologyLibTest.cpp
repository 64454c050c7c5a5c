#include "IioTopologyLib.h"

#include <algorithm>
#include <random>

#include "BaseSerialPortLib16550.h"
#include "Firmware.h"
#include "FirmwareTestBench.h"
#include "HandOffRecords.h"
#include "HobList.h"
#include "IioTopologyLibInternal.h"
#include "RasDebugLib.h"
#include "Record/RasLevelMask.h"
#include "SmmMemoryAllocationLib.h"
#include "SmmRasGlobalDataLib.h"
#include "SystemInfoLib.h"
#include "TopologyStore.h"
#include "UpiHostDataLib.h"

namespace {

const std::string SourceFile = "ServerRasPkg/Library/IioTopologyLib/IioTopologyLibSpr";

class IioTopology : public FirmwareTestBench {
public:
  IioTopology ()
  {
    Boot ();
  }

  /// A new boot, up to the constructors on which the library rests.
  void
  Boot ()
  {
    PowerOn ();
    Machine.Uart.Sent.clear ();
    constexpr RasLevelMask Flow = {0x08000000};
    HobListAddGuid (&gRasLevelMaskHobGuid, &Flow, sizeof Flow);
    SmmMemoryAllocationLibConstructor (nullptr, nullptr);
    EXPECT_EQ (InitializeSmmRasGlobalData (nullptr, nullptr), EFI_SUCCESS);
    EXPECT_EQ (RasDebugLibConstructor (), EFI_SUCCESS);
    EXPECT_EQ (SystemInfoLibConstructor (nullptr, nullptr), EFI_SUCCESS);
    World.Forget ();
  }

  /// The rows that a test has set, in the records and on the bus.
  void
  UseTopology ()
  {
    HandOffRecordsFill ();
    Machine.Pci.Clear ();
    Machine.Pci.Populate (gTopology);
  }

  static EFI_STATUS
  Construct ()
  {
    (void)UpiHostDataLibConstructor (nullptr, nullptr);
    return IioTopologyLibConstructor (nullptr, nullptr);
  }

  static Bytes
  Store ()
  {
    const auto *Data = reinterpret_cast<const UINT8 *> (mIioTopology);
    return {Data, Data + 2664};
  }

  static Bytes
  Expected (bool IsRefreshed)
  {
    return StoreOf (HandOffIioPolicy (), GetUpiHostRecord (), &gSystemInfo, *gHostMachine,
                    IsRefreshed);
  }
};

/// A machine with something at every address, and a device at three of four.
class NoiseMachine : public SimulatedMachine {
public:
  NoiseMachine ()
      : SimulatedMachine (
            {.Name = "", .Processors = {{"intel-sapphire-rapids", 0, true}}, .Devices = {}})
  {
    PauseLimit = 1;
  }

  UINT32
  MmioRead (UINTN Address, UINTN Width) override
  {
    ++Accesses;
    constexpr UINT64 Mixer = 0x9E3779B97F4A7C15;
    const UINT64 Mixed = Address * Mixer;
    const auto Noise = static_cast<UINT32> ((Mixed ^ Mixed >> 32) * Mixer >> 32);
    return Width == 1 ? Noise & 0x83 : (Noise & 3) == 0 ? 0xFFFFFFFF : Noise;
  }

  UINTN Accesses = 0;
};

/// Where USRA finds a register on that machine; it does not find one of 17.
VOID *EFIAPI
NoiseAddress (const UsraPcieAddress *Address)
{
  return Address->Location % 17 == 0
             ? nullptr
             : reinterpret_cast<VOID *> ((UINT64{Address->Segment} + 1) << 32 | Address->Location);
}

VOID
BuildAndRefresh ()
{
  if (!EFI_ERROR (InitializeIioTopology ())) {
    IioTopologyReadyToLockNotify (nullptr, nullptr, nullptr);
  }
}

/// One socket with port 0 and port 2 of three, and stack 1.
VOID
SmallTopology ()
{
  gTopology = {};
  gTopology.Places[2] = {.Device = 6, .Function = 1};
  SocketRow &Socket = gTopology.Sockets[1];
  Socket.Present = TRUE;
  Socket.MaxPort = 3;
  Socket.Ports[0] = {.Exists = TRUE, .Bus = 0x20};
  Socket.Ports[2] = {.Exists = TRUE, .Bus = 0xA0};
  Socket.Stacks[1].Present = TRUE;
}

TEST_F (IioTopology, IsWhatRecordsOfAnyContentSay)
{
  constexpr UINTN AccessesMax = 4 * (8 * 2 + 57 * 4);
  NoiseMachine Noisy;
  EXPECT_EQ (Construct (), EFI_SUCCESS);
  gHostMachine = &Noisy;
  gUsra.UsraGetAddress = NoiseAddress;
  mSerialPortUsable = FALSE;
  std::mt19937_64 Random (2026);
  for (UINTN Case = 0; Case < 4000; ++Case) {
    UINT64 Noise[4096];
    for (UINT64 &Each : Noise) {
      Each = Random ();
      Each &= Random (); // Some bytes are zero then.
    }
    const bool HasTooManyPorts = Case % 4 == 0;
    std::memcpy (HandOffIioPolicy (), Noise, sizeof (IioSiPolicy));
    for (UINT8 &MaxPort : HandOffIioPolicy ()->MaxPort) {
      MaxPort = static_cast<UINT8> (HasTooManyPorts ? MaxPort : MaxPort % 58);
    }
    std::memcpy (const_cast<UpiHostRecord *> (GetUpiHostRecord ()), Noise, sizeof (UpiHostRecord));
    std::memcpy (&gSystemInfo, Noise, sizeof gSystemInfo);
    // What is not written stays.
    std::memcpy (mIioTopology, Noise, sizeof *mIioTopology);
    for (IioTopologySocket &Socket : mIioTopology->Socket) {
      std::memset (Socket.Port, 0, sizeof Socket.Port);
    }
    const Bytes Before = Store ();
    Noisy.Accesses = 0;
    try {
      BuildAndRefresh ();
    } catch (const ProcessorStopped &) {
      ASSERT_TRUE (HasTooManyPorts) << Case;
      continue;
    }
    ASSERT_LE (Noisy.Accesses, AccessesMax) << Case;
    const Bytes Right =
        StoreOf (HandOffIioPolicy (), GetUpiHostRecord (), &gSystemInfo, Noisy, true, Before);
    const auto Wrong = std::ranges::mismatch (Store (), Right).in2;
    ASSERT_EQ (Wrong - Right.begin (), 2664) << "the byte of the store in case " << Case;
  }
  gHostMachine = &Machine;
}

TEST_F (IioTopology, IsDumpedInAPassForPortsAndOneForStacks)
{
  SmallTopology ();
  UseTopology ();
  EXPECT_EQ (Construct (), EFI_SUCCESS);
  Machine.Uart.Sent.clear ();
  mIioTopology->Socket[0].Valid = 2; // No value of a socket that is there.
  mIioTopology->Socket[2].Stack[3].Present = 2;
  DumpIioTopology ();
  EXPECT_EQ (Machine.Uart.Sent,
             "DumpIioTopology \r\nSktId = 0x1, MaxPort 0x3\r\n"
             "SktId = 0x1,Port = 0x0, Bus = 0x20,Device = 0x0,Function = 0x0 \r\n"
             "SktId = 0x1,Port = 0x1, Bus = 0xA0,Device = 0x6,Function = 0x1 \r\n"
             "SktId = 0x1,IioStack = 0x1 \r\nSktId = 0x2,IioStack = 0x3 \r\n");
}

// The order of the accesses to a bridge can be read in the transcripts.
TEST_F (IioTopology, LeavesNoNotificationBehind)
{
  IioTopologyLibWithdraw (); // Nothing is registered yet.
  EXPECT_EQ (Construct (), EFI_SUCCESS);
  EXPECT_EQ (ProtocolNotificationCount (), 1U);
  IioTopologyLibWithdraw ();
  EXPECT_EQ (ProtocolNotificationCount (), 0U);
  const UINTN Calls = gFaultPlan.AllCalls;
  IioTopologyLibWithdraw ();
  EXPECT_EQ (gFaultPlan.AllCalls, Calls);
  FirmwareSignalReadyToLock ();
  EXPECT_EQ (Store (), Expected (false));
}

TEST_F (IioTopology, FailsWithTheStepThatFailed)
{
  InstallDebugService ();
  FaultPlanFail (ServiceSmmAllocatePool, 2, EFI_OUT_OF_RESOURCES); // The first is the UPI block.
  EXPECT_EQ (Construct (), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ (IioTopologyReadyToLockNotify (nullptr, nullptr, nullptr), EFI_NOT_FOUND);
  EXPECT_EQ (StoppedAt (DumpIioTopology),
             DebugAssertEnabled () ? SourceFile + ":241 mIioTopology" : "");

  Boot ();
  FaultPlanFail (ServiceSmmRegisterNotify, 1, EFI_DEVICE_ERROR);
  EXPECT_EQ (Construct (), EFI_DEVICE_ERROR);
  EXPECT_EQ (Store (), Expected (false)) << "complete, if never refreshed";
  EXPECT_EQ (IioTopologyReadyToLockNotify (nullptr, nullptr, nullptr), EFI_SUCCESS);
  EXPECT_EQ (Store (), Expected (true));
  IioTopologyLibWithdraw ();
  EXPECT_EQ (gFaultPlan.Calls[ServiceSmmRegisterNotify], 1U);
}

TEST_F (IioTopology, StaysEmptyWithoutUpiHostDataOrPolicy)
{
  EXPECT_EQ (IioTopologyLibConstructor (nullptr, nullptr), EFI_NOT_FOUND);
  EXPECT_EQ (Store (), Bytes (2664, 0));
  EXPECT_EQ (ProtocolNotificationCount (), 0U);

  Boot ();
  HobListRemove (&gIioSiPolicyHobGuid);
  EXPECT_EQ (StoppedAt ([] { EXPECT_EQ (Construct (), EFI_NOT_FOUND); }),
             DebugAssertEnabled () ? "no assertion" : "");
  EXPECT_EQ (Store (), Bytes (2664, 0));
  EXPECT_EQ (ProtocolNotificationCount (), 0U);
}

TEST_F (IioTopology, HasNoPortsWhereThePolicyHasTooMany)
{
  StandardTopology (&gTopology, 1);
  gTopology.Sockets[0].MaxPort = 58;
  HandOffRecordsFill ();
  const std::string Stopped = StoppedAt ([] { EXPECT_EQ (Construct (), EFI_SUCCESS); });
  if (DebugAssertEnabled ()) {
    EXPECT_EQ (Stopped, "no assertion");
    EXPECT_EQ (Machine.Uart.Sent, "InitializeIioTopology!\r\nRAS ASSERT ERROR found -- " +
                                      SourceFile + " line 153!\r\n");
    EXPECT_EQ (mIioTopology->Socket[0].MaxPort, 58) << "what the line is about";
    return;
  }
  EXPECT_EQ (Store (), Expected (false));
}

TEST_F (IioTopology, HoldsToTheNumberOfPortsThatItHasChecked)
{
  SmallTopology ();
  UseTopology ();
  EXPECT_EQ (Construct (), EFI_SUCCESS);
  // The number changes during the walk: the first port's bus is stored over it.
  Bytes Policy (30000);
  std::memcpy (Policy.data (), HandOffIioPolicy (), sizeof (IioSiPolicy));
  HobListRemove (&gIioSiPolicyHobGuid);
  auto *Left = reinterpret_cast<UINT8 *> (
      HobListAddGuid (&gIioSiPolicyHobGuid, Policy.data (), Policy.size ()) + 1);
  constexpr UINTN BusOffset = offsetof (IioTopologyStore, Socket[1].Port[0].Bus);
  UINT8 *Number = Left + offsetof (IioSiPolicy, MaxPort[1]);
  mIioTopology = reinterpret_cast<IioTopologyStore *> (Number - BusOffset);
  EXPECT_EQ (InitializeIioTopology (), EFI_SUCCESS);
  EXPECT_EQ (*Number, 0x20);
  EXPECT_EQ (mIioTopology->Socket[1].Port[1].Device, 6) << "port 2";
}

TEST_F (IioTopology, StopsBehindTheLastPortWhateverTheStoreClaims)
{
  EXPECT_EQ (Construct (), EFI_SUCCESS);
  IioTopologySocket &Last = mIioTopology->Socket[SOCKET_MAX - 1];
  std::memset (&Last, 0, sizeof Last);
  std::memset (Last.Stack, 1, sizeof Last.Stack); // would be valid ports
  Last.Valid = 1;
  Last.MaxPort = 255;
  const IioTopologySocket Before = Last;
  FirmwareSignalReadyToLock ();
  DumpIioTopology ();
  EXPECT_EQ (std::memcmp (&Last, &Before, sizeof Last), 0);
}

TEST_F (IioTopology, DoesWithoutWhatCannotBeReached)
{
  mSystemInfoRecord = nullptr;
  Machine.Pci.Clear (); // Any access is a fault.
  EXPECT_EQ (Construct (), EFI_SUCCESS);
  FirmwareSignalReadyToLock ();
  gSystemInfo = {};
  EXPECT_EQ (Store (), Expected (false));

  Boot ();
  ProtocolRemove (ProtocolSmm, &gUsraProtocolGuid);
  EXPECT_EQ (Construct (), EFI_SUCCESS);
  FirmwareSignalReadyToLock ();
  EXPECT_EQ (Store (), Expected (false));
}

} // namespace
