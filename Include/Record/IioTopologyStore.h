/// The shared buffer "PlatIioTopology": which root ports and stacks each socket has.
///
/// The driver that makes it fills it at load, and the bus numbers behind its bridges at
/// SmmReadyToLock; from then on it is only read. A new store is all zeros.
#pragma once

#include "Record/PlatformLimits.h"

inline constexpr CHAR16 PlatIioTopologyName[] = u"PlatIioTopology";

struct [[gnu::packed]] IioTopologyPort {
  UINT8 Valid;
  UINT8 Bus;
  UINT8 Device;
  UINT8 Function;
  UINT8 SecondaryBus; ///< 0 until SmmReadyToLock, as the next one.
  UINT8 SubordinateBus;
};
LAYOUT_OFFSET (IioTopologyPort, Bus, 1);
LAYOUT_OFFSET (IioTopologyPort, Device, 2);
LAYOUT_OFFSET (IioTopologyPort, Function, 3);
LAYOUT_OFFSET (IioTopologyPort, SecondaryBus, 4);
LAYOUT_OFFSET (IioTopologyPort, SubordinateBus, 5);
LAYOUT_SIZE (IioTopologyPort, 6);

/// One stack. Fields whose names say where they come from are copies.
struct [[gnu::packed]] IioTopologyStack {
  UINT8 Present;
  UINT8 PolicyStackByte20082;
  UINT8 PolicyStackByte20178;
  UINT8 Reserved0[5];
  UINT64 UpiStackDword39;
  UINT8 CxlReady;       ///< Always 0 for stacks that cannot be CXL.
  UINT8 CxlRcrbAllOnes; ///< Of a stack that is CxlReady: nothing answers at its RCRB.
  UINT8 Reserved1[6];
};
LAYOUT_OFFSET (IioTopologyStack, PolicyStackByte20082, 1);
LAYOUT_OFFSET (IioTopologyStack, PolicyStackByte20178, 2);
LAYOUT_OFFSET (IioTopologyStack, UpiStackDword39, 8);
LAYOUT_OFFSET (IioTopologyStack, CxlReady, 16);
LAYOUT_OFFSET (IioTopologyStack, CxlRcrbAllOnes, 17);
LAYOUT_SIZE (IioTopologyStack, 24);

struct [[gnu::packed]] IioTopologySocket {
  UINT8 Valid; ///< 0 for a socket that is not there; the rest of its entry then is zero.
  UINT8 UpiSocketByte71;
  UINT8 UpiSocketByte69;
  UINT8 MaxPort; ///< Bound of every walk over Port, not the number of valid entries.
  IioTopologyPort Port[IIO_PORT_MAX]; ///< The ports that exist, without holes.
  UINT8 Reserved0[6];
  IioTopologyStack Stack[IIO_STACK_MAX];
  UINT8 SysInfoByte286;
  UINT8 Reserved1[7];
  UINT64 SysInfoDword424;
  UINT8 SysInfoByte294;
  UINT8 Reserved2[7];
};
LAYOUT_OFFSET (IioTopologySocket, UpiSocketByte71, 1);
LAYOUT_OFFSET (IioTopologySocket, UpiSocketByte69, 2);
LAYOUT_OFFSET (IioTopologySocket, MaxPort, 3);
LAYOUT_OFFSET (IioTopologySocket, Port, 4);
LAYOUT_OFFSET (IioTopologySocket, Stack, 352);
LAYOUT_OFFSET (IioTopologySocket, SysInfoByte286, 640);
LAYOUT_OFFSET (IioTopologySocket, SysInfoDword424, 648);
LAYOUT_OFFSET (IioTopologySocket, SysInfoByte294, 656);
LAYOUT_SIZE (IioTopologySocket, 664);

struct [[gnu::packed]] IioTopologyStore {
  UINT8 Reserved[8];
  IioTopologySocket Socket[SOCKET_MAX];
};
LAYOUT_OFFSET (IioTopologyStore, Socket, 8);
LAYOUT_SIZE (IioTopologyStore, 2664);
