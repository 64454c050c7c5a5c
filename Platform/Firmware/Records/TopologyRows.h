/// The sockets of the platform, with their I/O stacks and root ports, in plain rows. The hand-off
/// records and the machine's PCI buses are made of the same rows.
#pragma once

#include "Record/PlatformLimits.h"

/// Statuses of a stack's CXL link: only the first has both bits that say so.
inline constexpr UINT8 CxlReadyStatus = 0x83;
inline constexpr UINT8 CxlTrainingStatus = 0x82;

/// Ports in a row that share a bus.
inline constexpr UINTN PortsPerBus = 8;

struct StackRow {
  BOOLEAN Present;
  UINT8 PolicyByte20082; ///< Bytes and words of no meaning here are named for where they go.
  UINT8 PolicyByte20178;
  UINT32 UpiDword39;
  UINT8 CxlStatus;   ///< Of the first CXL_STACK_MAX stacks.
  BOOLEAN RcrbValid; ///< Whether the next one holds.
  UINT64 RcrbBase;   ///< Of the RCRB of the stack's downstream CXL port.
};

struct PortRow {
  BOOLEAN Exists;
  UINT8 Bus;
};

struct SocketRow {
  BOOLEAN Present;
  UINT8 Segment;
  UINT8 UpiByte69;
  UINT8 UpiByte71;
  UINT8 SysInfoByte286;
  UINT8 SysInfoByte294;
  UINT32 SysInfoDword424;
  StackRow Stacks[IIO_STACK_MAX];
  UINT8 MaxPort; ///< Number of ports that the socket can have.
  PortRow Ports[IIO_PORT_MAX];
};

/// Where the ports of one number lie on their buses, in all sockets.
struct PortPlaceRow {
  UINT8 Device;
  UINT8 Function;
};

struct TopologyRows {
  SocketRow Sockets[SOCKET_MAX];
  PortPlaceRow Places[IIO_PORT_MAX];
};

extern "C" {

/// Fills *Rows with SocketCount sockets, at most SOCKET_MAX, in a segment each. They differ: in
/// stacks, in the number of their ports, of which every third does not exist, and in what is CXL.
VOID StandardTopology (TopologyRows *Rows, UINTN SocketCount);

/// Number of ports that the records have of a socket: none if it is not there, or if the policy
/// shall have a number that it cannot have.
UINTN KnownPorts (const SocketRow *Socket);

/// Rows of different lengths may lie over each other in the policy, and then have to agree. Returns
/// the first socket whose ports differ from an earlier one's, or SOCKET_MAX if there is none.
UINTN ConflictingSocket (const TopologyRows *Rows);
}
