#include "TestPlatform.h"

#include <iomanip>
#include <sstream>

#include "Pool.h"
#include "Protocol/SmmDebugService.h"
#include "ProtocolDatabase.h"
#include "Record/ErrorClass.h"
#include "SharedBuffers.h"
#include "SmmAccess.h"

PlatformDescription
TwoSockets (std::vector<PlatformDescription::Device> Devices)
{
  return {
      .Name = "two sockets",
      .Processors = {{"intel-sapphire-rapids", 0x00, true}, {"intel-sapphire-rapids", 0x80, true}},
      .Devices = std::move (Devices)};
}

PlatformDescription
FourSockets ()
{
  return LoadPlatformDescription (QSM_PLATFORM_DATA "/FourSocket.json");
}

PlatformDescription::Device
ProcessorDevice (std::optional<std::string> Id, UINT64 Socket)
{
  return {.Type = ErrorClassProcessor, .Id = std::move (Id), .Socket = Socket};
}

PlatformDescription::Device
MemoryDevice (std::optional<std::string> Id, UINT8 Socket, UINT8 Channel, UINT8 Dimm)
{
  return {.Type = ErrorClassMemory,
          .Id = std::move (Id),
          .Socket = Socket,
          .Channel = Channel,
          .Dimm = Dimm};
}

PlatformDescription::Device
PcieDevice (std::optional<std::string> Id, UINT8 Bus, UINT8 Device, UINT8 Function)
{
  return {.Type = ErrorClassPcie,
          .Id = std::move (Id),
          .Bus = Bus,
          .Device = Device,
          .Function = Function};
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

LoadedPlatform::LoadedPlatform (const PlatformDescription &Platform, DebugWorld Debug)
    : BootedPlatform (Platform, Debug)
{
  const CallResult Load = LoadDriver ();
  EXPECT_EQ (Load.Status, EFI_SUCCESS);
  EXPECT_EQ (Load.Stopped, "");
  SmmBlocks = gPools[PoolSmm].LiveBlocks;
}
