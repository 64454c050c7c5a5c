#include "TopologyDescription.h"

#include <algorithm>
#include <set>

#include "SimulatedPci.h"

namespace {

/// Behind it there is room for two buses for each of the ports on it.
constexpr UINT8 RootBusMax = 0xFF - 2 * PortsPerBus;

/// Tells of each number below Count whether the list of that name has it, if there is the list.
template <typename Consumer>
void
ReadList (const DescriptionValue &Socket, std::string_view Key, UINTN Count, Consumer &&Take)
{
  if (!Socket.Has (Key)) {
    return;
  }
  std::set<UINTN> Listed;
  for (const DescriptionValue &Each : Socket[Key].List ()) {
    if (!Listed.insert (Each.Number<UINTN> (Count - 1)).second) {
      Each.Refuse ("each number once");
    }
  }
  for (UINTN Number = 0; Number < Count; ++Number) {
    Take (Number, Listed.contains (Number));
  }
}

/// Reads the bus of each eight ports in turn.
void
ReadRootBuses (const DescriptionValue &Buses, SocketRow &Socket)
{
  std::set<UINT8> Listed;
  UINTN Port = 0;
  for (const DescriptionValue &Each : Buses.List ()) {
    const auto Bus = Each.Number<UINT8> (RootBusMax);
    if (!Listed.insert (Bus).second) {
      Each.Refuse ("each number once");
    }
    if (Port >= IIO_PORT_MAX) {
      Buses.Refuse (fmt::format ("at most one bus for {} ports each", PortsPerBus));
    }
    for (const UINTN End = std::min (Port + PortsPerBus, IIO_PORT_MAX); Port < End; ++Port) {
      Socket.Ports[Port].Bus = Bus;
    }
  }
}

void
ReadSocket (const DescriptionValue &Source, SocketRow &Socket)
{
  Source.AllowOnly ({"segment", "maxPort", "rootBuses", "absentPorts", "absentStacks", "cxlStacks",
                     "rcrbStacks"});
  if (Source.Has ("segment")) {
    Socket.Segment = Source["segment"].Number<UINT8> (SimulatedPciSegmentCount - 1);
  }
  if (Source.Has ("maxPort")) {
    Socket.MaxPort = Source["maxPort"].Number<UINT8> (IIO_PORT_MAX);
  }
  if (Source.Has ("rootBuses")) {
    ReadRootBuses (Source["rootBuses"], Socket);
  }
  ReadList (Source, "absentPorts", IIO_PORT_MAX,
            [&] (UINTN Port, bool IsAbsent) { Socket.Ports[Port].Exists = !IsAbsent; });
  ReadList (Source, "absentStacks", IIO_STACK_MAX,
            [&] (UINTN Stack, bool IsAbsent) { Socket.Stacks[Stack].Present = !IsAbsent; });
  ReadList (Source, "cxlStacks", CXL_STACK_MAX, [&] (UINTN Stack, bool IsCxl) {
    Socket.Stacks[Stack].CxlStatus = IsCxl ? CxlReadyStatus : CxlTrainingStatus;
    Socket.Stacks[Stack].RcrbValid = IsCxl;
  });
  ReadList (Source, "rcrbStacks", IIO_STACK_MAX,
            [&] (UINTN Stack, bool HasRcrb) { Socket.Stacks[Stack].RcrbValid = HasRcrb; });
}

} // namespace

TopologyRows
ReadTopology (const DescriptionValue &Sockets)
{
  const std::vector<DescriptionValue> Sources = Sockets.List ();
  if (Sources.size () > SOCKET_MAX) {
    Sockets.Refuse (fmt::format ("at most {} sockets", SOCKET_MAX));
  }
  TopologyRows Rows;
  StandardTopology (&Rows, Sources.size ());
  std::set<UINT8> Segments;
  for (UINTN Index = 0; Index < Sources.size (); ++Index) {
    SocketRow &Socket = Rows.Sockets[Index];
    if (Sources[Index].IsNull ()) {
      Socket = {};
      continue;
    }
    ReadSocket (Sources[Index], Socket);
    if (!Segments.insert (Socket.Segment).second) {
      Sources[Index].RefuseKey (
          fmt::format ("a segment of its own, not {} as an earlier socket", Socket.Segment));
    }
  }
  if (const UINTN Index = ConflictingSocket (&Rows); Index < SOCKET_MAX) {
    Sources[Index].RefuseKey ("ports like those of an earlier socket that the policy keeps in the "
                              "same places: number I of socket S in place S * maxPort + I");
  }
  return Rows;
}
