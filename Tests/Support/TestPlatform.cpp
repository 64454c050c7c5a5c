#include "TestPlatform.h"

#include <iomanip>
#include <sstream>

#include <fmt/format.h>

#include "HandOffRecords.h"
#include "Pool.h"
#include "Protocol/SmmDebugService.h"
#include "ProtocolDatabase.h"
#include "Record/ErrorClass.h"
#include "SharedBuffers.h"
#include "SmmAccess.h"

PlatformDescription
TwoSockets (std::vector<DescribedDevice> Devices)
{
  return {
      .Name = "two sockets",
      .Processors = {{"intel-sapphire-rapids", 0x00, true}, {"intel-sapphire-rapids", 0x80, true}},
      .Devices = std::move (Devices)};
}

PlatformDescription
FourSockets ()
{
  PlatformDescription Platform = LoadPlatformDescription (QSM_PLATFORM_DATA "/FourSocket.json");
  Platform.Topology.reset ();
  return Platform;
}

DescribedDevice
ProcessorDevice (std::optional<std::string> Id, UINT64 Socket)
{
  return {{.Type = ErrorClassProcessor, .Socket = Socket}, std::move (Id)};
}

DescribedDevice
MemoryDevice (std::optional<std::string> Id, UINT8 Socket, UINT8 Channel, UINT8 Dimm)
{
  return {{.Type = ErrorClassMemory, .Socket = Socket, .Channel = Channel, .Dimm = Dimm},
          std::move (Id)};
}

DescribedDevice
PcieDevice (std::optional<std::string> Id, UINT8 Bus, UINT8 Device, UINT8 Function)
{
  return {{.Type = ErrorClassPcie, .Bus = Bus, .Device = Device, .Function = Function},
          std::move (Id)};
}

std::string
EventText (const CallResult &Result)
{
  std::ostringstream Text;
  Text << std::hex << std::uppercase << std::setfill ('0');
  for (const BmcRequest &Event : Result.Events) {
    Text << +Event.NetFunction << ' ' << +Event.Lun << ' ' << +Event.Command << ':';
    for (const UINT8 Byte : Event.Data) {
      Text << ' ' << std::setw (2) << +Byte;
    }
    Text << '\n';
  }
  return Text.str ();
}

std::string
StoreText ()
{
  std::ostringstream Text;
  for (const SharedBuffer &Buffer : SharedBuffers ()) {
    Text << Buffer.Name << ' ' << Buffer.Content.size ()
         << (Buffer.InSmm ? " in SMM, " : " outside, ") << (Buffer.Locked ? "locked\n" : "open\n");
  }
  return Text.str ();
}

CallResult
LoadWithFailingCalls (SimulatedPlatform &Platform)
{
  try {
    return Platform.LoadDriver ();
  } catch (const PlatformFault &Fault) {
    EXPECT_STREQ (Fault.what (), "freed a pointer that is no block of this pool");
    for (const PoolBlock &Block : gPools[PoolSmm].Blocks) {
      EXPECT_FALSE (Block.Live && Block.Size == sizeof gSmramMap) << "there is a copy of the map";
    }
    CallResult Result;
    Result.Stopped = Fault.what ();
    return Result;
  }
}

BootedPlatform::BootedPlatform (const PlatformDescription &Platform, DebugWorld Debug)
    : SimulatedPlatform (Platform)
{
  if (Debug == DebugWorld::Absent) {
    ProtocolRemove (ProtocolSmm, &gSmmDebugServiceProtocolGuid);
  }
}

RecordedPlatform::RecordedPlatform (DebugWorld Debug)
    : BootedPlatform (
          TwoSockets ({ProcessorDevice ("CPU0", 0), ProcessorDevice ("CPU1", 1),
                       ProcessorDevice ("CPU1 again", 1), MemoryDevice ("DIMM_S1C1D0", 1, 1, 0),
                       MemoryDevice ("DIMM_S1C2D0", 1, 2, 0), MemoryDevice ("again", 1, 2, 0),
                       PcieDevice ("abc", 0x3B, 2, 1), PcieDevice ("again", 0x3B, 2, 1)}),
          Debug),
      Record (*this)
{
  gTopology = {};
  gTopology.Places[2] = {.Device = 6, .Function = 1};
  SocketRow &First = gTopology.Sockets[0];
  First.Present = TRUE;
  First.MaxPort = 33;
  First.Ports[0] = {.Exists = TRUE, .Bus = 0x20};
  First.Ports[2] = {.Exists = TRUE, .Bus = 0xA0};
  First.Stacks[0].Present = TRUE;
  First.Stacks[11].Present = TRUE;
  gTopology.Sockets[1].Present = TRUE;
  gTopology.Sockets[1].Stacks[5].Present = TRUE;
  HandOffRecordsFill ();
  Machine.Pci.Clear ();
  Machine.Pci.Populate (gTopology);
  const auto MemMapHost = static_cast<UINT32> (HandOffStaticPointers ()->Pointers[SptMemMapHost]);
  Record.Names[fmt::format ("was 0x{:X}", MemMapHost)] = "was an address";
  Machine.Cmos.Bytes[0x4F] = 0x0C;
}

CallResult
RecordedPlatform::Load ()
{
  const CallResult Result = LoadDriver ();
  Record.Note (Result);
  return Result;
}

void
RecordedPlatform::ReadyToLock ()
{
  Record.Note (SignalReadyToLock ());
}

void
RecordedPlatform::ReportError (const std::vector<UINT8> &Bytes, const ReportOptions &Options)
{
  Record.Note (Report (Bytes, Options));
}

LoadedPlatform::LoadedPlatform (const PlatformDescription &Platform) : SimulatedPlatform (Platform)
{
  const CallResult Load = LoadDriver ();
  EXPECT_EQ (Load.Status, EFI_SUCCESS);
  EXPECT_EQ (Load.Stopped, "");
}
