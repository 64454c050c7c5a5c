#include "TopologyRows.h"

namespace {

/// The first RCRB; each stack that has one has 64 KiB for it.
constexpr UINT64 RcrbStart = 0xC8000000;
constexpr UINT64 RcrbStep = 0x10000;

/// Ports of a socket; the first one of the next socket's has some more.
constexpr UINTN FirstSocketPorts = 33;
constexpr UINTN MorePortsPerSocket = 8;
static_assert (FirstSocketPorts + MorePortsPerSocket * (SOCKET_MAX - 1) == IIO_PORT_MAX);

/// Buses that a port has for itself and what is behind it.
constexpr UINTN BusesPerPort = 4;

/// A value that no other place has.
constexpr UINT8
Mark (UINTN Kind, UINTN Socket, UINTN Stack)
{
  return static_cast<UINT8> (Kind * 0x40 + Socket * IIO_STACK_MAX + Stack + 1);
}

StackRow
Stack (UINTN Socket, UINTN Number)
{
  const bool IsCxl = Number == 2 || Number == 5 + Socket % 2;
  return {.Present = Number % 5 != 4,
          .PolicyByte20082 = Mark (0, Socket, Number),
          .PolicyByte20178 = Mark (1, Socket, Number),
          .UpiDword39 = 0xF0000000 + Mark (2, Socket, Number),
          .CxlStatus = IsCxl ? CxlReadyStatus : CxlTrainingStatus,
          .RcrbValid = IsCxl,
          .RcrbBase = RcrbStart + RcrbStep * (Socket * IIO_STACK_MAX + Number)};
}

} // namespace

VOID
StandardTopology (TopologyRows *Rows, UINTN SocketCount)
{
  *Rows = {};
  for (UINTN Port = 0; Port < IIO_PORT_MAX; ++Port) {
    Rows->Places[Port] = {.Device = static_cast<UINT8> (1 + Port % PortsPerBus),
                          .Function = static_cast<UINT8> (Port / PortsPerBus % 2)};
  }
  for (UINTN Socket = 0; Socket < SocketCount && Socket < SOCKET_MAX; ++Socket) {
    SocketRow &Row = Rows->Sockets[Socket];
    Row.Present = TRUE;
    Row.Segment = static_cast<UINT8> (Socket);
    Row.UpiByte69 = Mark (3, Socket, 0);
    Row.UpiByte71 = Mark (3, Socket, 1);
    Row.SysInfoByte286 = Mark (3, Socket, 2);
    Row.SysInfoByte294 = Mark (3, Socket, 3);
    Row.SysInfoDword424 = 0xE0000000 + Mark (3, Socket, 4);
    for (UINTN Number = 0; Number < IIO_STACK_MAX; ++Number) {
      Row.Stacks[Number] = Stack (Socket, Number);
    }
    Row.MaxPort = static_cast<UINT8> (FirstSocketPorts + MorePortsPerSocket * Socket);
    for (UINTN Port = 0; Port < IIO_PORT_MAX; ++Port) {
      Row.Ports[Port] = {.Exists = Port % 3 != 1,
                         .Bus =
                             static_cast<UINT8> (Port / PortsPerBus * PortsPerBus * BusesPerPort)};
    }
  }
}

UINTN
KnownPorts (const SocketRow *Socket)
{
  return Socket->Present && Socket->MaxPort <= IIO_PORT_MAX ? Socket->MaxPort : 0;
}

UINTN
ConflictingSocket (const TopologyRows *Rows)
{
  enum PlaceState : UINT8 {
    NobodysPlace,
    PortIsAbsent,
    PortExists
  };
  PlaceState Places[SOCKET_MAX * IIO_PORT_MAX] = {};
  for (UINTN Number = 0; Number < SOCKET_MAX; ++Number) {
    const SocketRow &Socket = Rows->Sockets[Number];
    for (UINTN Port = 0; Port < KnownPorts (&Socket); ++Port) {
      PlaceState &Place = Places[Number * Socket.MaxPort + Port];
      const PlaceState State = Socket.Ports[Port].Exists ? PortExists : PortIsAbsent;
      if (Place != NobodysPlace && Place != State) {
        return Number;
      }
      Place = State;
    }
  }
  return SOCKET_MAX;
}
