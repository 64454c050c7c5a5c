/// The IIO silicon policy: which stacks and root ports the platform uses, as an earlier boot phase
/// leaves it in a HOB.
///
/// Fields that this driver does not read are Reserved, and the record may go on behind what is laid
/// out here.
#pragma once

#include "Record/PlatformLimits.h"

inline constexpr EFI_GUID gIioSiPolicyHobGuid = {
    0x353BB17B, 0x74AC, 0x4895, {0xB4, 0x61, 0x2C, 0x8C, 0x97, 0x68, 0x30, 0xE6}};

/// Where a root port lies on its bus. Ports of the same number lie at the same place in all
/// sockets.
struct [[gnu::packed]] IioPolicyPort {
  UINT8 Device;
  UINT8 Function;
  UINT8 Reserved[7];
};
LAYOUT_OFFSET (IioPolicyPort, Function, 1);
LAYOUT_SIZE (IioPolicyPort, 9);

struct [[gnu::packed]] IioSiPolicy {
  UINT8 Reserved0[20014];
  UINT32 StackBitmap[SOCKET_MAX]; ///< Bit k is set if the socket has stack k.
  UINT8 Reserved1[52];

  /// Copied to the IIO topology, whose readers know what it means; so is the other one.
  UINT8 PolicyStackByte20082[SOCKET_MAX][IIO_STACK_MAX];
  UINT8 Reserved2[48];
  UINT8 PolicyStackByte20178[SOCKET_MAX][IIO_STACK_MAX];
  UINT8 Reserved3[384];
  UINT8 PortBus[SOCKET_MAX][IIO_PORT_MAX];
  UINT8 Reserved4[981];
  IioPolicyPort Port[IIO_PORT_MAX];
  UINT8 Reserved5[16];
  UINT8 PortExists[SOCKET_MAX * IIO_PORT_MAX]; ///< To be read by IioPolicyPortExists.
  UINT8 Reserved6[2068];
  UINT8 MaxPort[SOCKET_MAX]; ///< Number of ports that the socket can have, IIO_PORT_MAX at most.
};
LAYOUT_OFFSET (IioSiPolicy, StackBitmap, 20014);
LAYOUT_OFFSET (IioSiPolicy, PolicyStackByte20082, 20082);
LAYOUT_OFFSET (IioSiPolicy, PolicyStackByte20178, 20178);
LAYOUT_OFFSET (IioSiPolicy, PortBus, 20610);
LAYOUT_OFFSET (IioSiPolicy, Port, 21819);
LAYOUT_OFFSET (IioSiPolicy, Port[0].Function, 21820);
LAYOUT_OFFSET (IioSiPolicy, PortExists, 22348);
LAYOUT_OFFSET (IioSiPolicy, MaxPort, 24644);
LAYOUT_SIZE (IioSiPolicy, 24648);

/// Whether the policy has port number Port of a socket, where Port is below MaxPort, the socket's
/// number of ports, and that is at most IIO_PORT_MAX. Each socket's row of PortExists starts as if
/// all rows were as long as its own.
inline bool
IioPolicyPortExists (const IioSiPolicy *Policy, UINTN Socket, UINTN MaxPort, UINTN Port)
{
  return Policy->PortExists[Socket * MaxPort + Port] != 0;
}
