/// What the platform knows of its sockets: a record of a closed driver, read at fixed offsets.
///
/// The record belongs to the driver that publishes it. Fields that this driver does not read are
/// Reserved, and the record may go on behind what is laid out here.
#pragma once

#include "Record/PlatformLimits.h"

inline constexpr EFI_GUID gSystemInfoProtocolGuid = {
    0xE7039336, 0x70A9, 0x42F6, {0x8D, 0x58, 0xCB, 0x5F, 0x23, 0xAB, 0x02, 0xD0}};

/// One socket's entry, from its first known field to the next entry's.
struct [[gnu::packed]] SystemInfoSocket {
  UINT32 SysInfoDword424; ///< Copied to the IIO topology, whose readers know what it means.
  UINT8 Reserved[40];
};
LAYOUT_OFFSET (SystemInfoSocket, SysInfoDword424, 0);
LAYOUT_SIZE (SystemInfoSocket, 44);

/// Where the root complex register block (RCRB) of a stack's downstream CXL port lies.
struct [[gnu::packed]] DownstreamRcrb {
  UINT64 Base;
  UINT8 Valid; ///< 0 if the stack has no such block.
};
LAYOUT_OFFSET (DownstreamRcrb, Valid, 8);
LAYOUT_SIZE (DownstreamRcrb, 9);

/// The interface of gSystemInfoProtocolGuid.
struct [[gnu::packed]] SystemInfoRecord {
  UINT8 Reserved0[286];
  UINT8 SysInfoByte286[SOCKET_MAX]; ///< Copied to the IIO topology, as the next one.
  UINT8 Reserved1[4];
  UINT8 SysInfoByte294[SOCKET_MAX];
  UINT8 Reserved2[4];
  UINT8 PciSegment[SOCKET_MAX]; ///< Number of the socket's PCI segment group.
  UINT8 Reserved3[118];
  SystemInfoSocket Socket[SOCKET_MAX];
  UINT8 Reserved4[718];
  DownstreamRcrb Rcrb[SOCKET_MAX][IIO_STACK_MAX];
};
LAYOUT_OFFSET (SystemInfoRecord, SysInfoByte286, 286);
LAYOUT_OFFSET (SystemInfoRecord, SysInfoByte294, 294);
LAYOUT_OFFSET (SystemInfoRecord, PciSegment, 302);
LAYOUT_OFFSET (SystemInfoRecord, Socket, 424);
LAYOUT_OFFSET (SystemInfoRecord, Rcrb, 1318);
LAYOUT_SIZE (SystemInfoRecord, 1750);
