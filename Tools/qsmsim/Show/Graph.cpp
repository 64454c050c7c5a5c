#include "Graph.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "Record/ErrorClass.h"
#include "SharedBuffers.h"

namespace {

/// Takes over what the store has of a socket.
void
AddSocket (GraphSocket &Socket, const IioTopologySocket &Stored)
{
  for (UINTN Number = 0; Number < IIO_STACK_MAX; ++Number) {
    const IioTopologyStack &Stack = Stored.Stack[Number];
    if (Stack.Present != 0) {
      Socket.Stacks.insert (Number);
    }
    if (Stack.CxlReady != 0) {
      (Stack.CxlRcrbAllOnes == 0 ? Socket.AnsweringCxl : Socket.SilentCxl).insert (Number);
    }
  }
  for (UINTN Number = 0; Number < std::min<UINTN> (Stored.MaxPort, IIO_PORT_MAX); ++Number) {
    if (const IioTopologyPort &Port = Stored.Port[Number]; Port.Valid != 0) {
      Socket.Buses[Port.Bus].Ports.push_back ({.Port = Port, .Devices = {}});
    }
  }
}

bool
IsAt (const IioTopologyPort &Port, const DescribedDevice &Device)
{
  return Port.Bus == Device.Bus && Port.Device == Device.Device && Port.Function == Device.Function;
}

bool
IsBehind (const IioTopologyPort &Port, UINT8 Bus)
{
  return Port.SecondaryBus != 0 && Port.SecondaryBus <= Bus && Bus <= Port.SubordinateBus;
}

/// The only list of devices to which the place of the PCIe device belongs.
DeviceIndices *
FindPlace (PlatformGraph &Graph, const DescribedDevice &Device)
{
  std::vector<DeviceIndices *> Places;
  for (auto &[Number, Socket] : Graph.Sockets) {
    for (auto &[BusNumber, Bus] : Socket.Buses) {
      const auto At = std::ranges::find_if (Bus.Ports, [&] (const GraphPort &Each) {
        return IsAt (Each.Port, Device) || IsBehind (Each.Port, Device.Bus);
      });
      if (At != Bus.Ports.end ()) {
        Places.push_back (&At->Devices);
      } else if (BusNumber == Device.Bus) {
        Places.push_back (&Bus.Devices);
      }
    }
  }
  return Places.size () == 1 ? Places.front () : nullptr;
}

DeviceIndices &
PlaceOf (PlatformGraph &Graph, const DescribedDevice &Device)
{
  switch (Device.Type) {
  case ErrorClassProcessor:
    return Graph.Sockets[Device.Socket].Processors;
  case ErrorClassMemory:
    return Graph.Sockets[Device.Socket].Memory[Device.Channel][Device.Dimm];
  case ErrorClassPcie: {
    DeviceIndices *const Place = FindPlace (Graph, Device);
    return Place != nullptr ? *Place : Graph.Unplaced;
  }
  default:
    return Graph.Others;
  }
}

} // namespace

std::optional<IioTopologyStore>
SharedTopology ()
{
  const auto Buffer = FindSharedBuffer (PlatIioTopologyName);
  if (!Buffer || Buffer->Content.size () < sizeof (IioTopologyStore)) {
    return std::nullopt;
  }
  IioTopologyStore Store;
  std::memcpy (&Store, Buffer->Content.data (), sizeof (Store));
  return Store;
}

PlatformGraph
BuildGraph (const PlatformDescription &Platform, const std::optional<IioTopologyStore> &Topology)
{
  PlatformGraph Graph;
  for (UINTN Number = 0; Topology && Number < SOCKET_MAX; ++Number) {
    if (Topology->Socket[Number].Valid != 0) {
      AddSocket (Graph.Sockets[Number], Topology->Socket[Number]);
    }
  }
  for (UINTN Index = 0; Index < Platform.Devices.size (); ++Index) {
    PlaceOf (Graph, Platform.Devices[Index]).push_back (Index);
  }
  return Graph;
}

std::vector<UINTN>
SocketsOfBus (const IioTopologyStore &Topology, UINT8 Bus)
{
  std::vector<UINTN> Sockets;
  for (UINTN Number = 0; Number < SOCKET_MAX; ++Number) {
    const IioTopologySocket &Socket = Topology.Socket[Number];
    const std::span Ports (Socket.Port, std::min<UINTN> (Socket.MaxPort, IIO_PORT_MAX));
    if (Socket.Valid != 0 && std::ranges::any_of (Ports, [&] (const IioTopologyPort &Port) {
          return Port.Valid != 0 && (Port.Bus == Bus || IsBehind (Port, Bus));
        })) {
      Sockets.push_back (Number);
    }
  }
  return Sockets;
}
