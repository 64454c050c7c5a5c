/// What an earlier boot phase learned about the processors' UPI links and resources: three records
/// that it leaves in HOBs, and the block in SMRAM in which all SMM drivers share them.
///
/// Nobody writes the block once it is published. Fields that this driver does not read are
/// Reserved.
#pragma once

#include "Record/PlatformLimits.h"

/// The protocol whose interface is the block.
inline constexpr EFI_GUID gSmmKtiProtocolGuid = {
    0x07BC172E, 0x2A5C, 0x47B0, {0xAA, 0xAA, 0xAA, 0xD5, 0x30, 0xB9, 0x5B, 0x4B}};

/// The HOBs of the three records, in the order of the block.
inline constexpr EFI_GUID gUpiFirstRecordHobGuid = {
    0x3C1526FF, 0xD33E, 0x4BA8, {0x97, 0x0D, 0x4B, 0x9F, 0x28, 0x92, 0x50, 0xA5}};
inline constexpr EFI_GUID gUpiHostRecordHobGuid = {
    0x7080648F, 0x430E, 0x430C, {0xBC, 0x7A, 0x66, 0x25, 0xD4, 0x58, 0x3B, 0x74}};
inline constexpr EFI_GUID gUpiThirdRecordHobGuid = {
    0xAC45D3D6, 0xA36E, 0x43A6, {0xAD, 0x17, 0x0A, 0x45, 0xBB, 0x47, 0xBE, 0xD6}};

struct [[gnu::packed]] UpiHostStack {
  UINT8 Reserved0[39];
  UINT32 UpiStackDword39; ///< Copied to the IIO topology, whose readers know what it means.
  UINT8 Reserved1;
};
LAYOUT_OFFSET (UpiHostStack, UpiStackDword39, 39);
LAYOUT_SIZE (UpiHostStack, 44);

/// One socket's entry, from its first known field to the next entry's.
struct [[gnu::packed]] UpiHostSocket {
  UINT8 UpiSocketByte69; ///< Copied to the IIO topology, as the next one.
  UINT8 Reserved0;
  UINT8 UpiSocketByte71;
  UINT8 Reserved1[202];
  UpiHostStack Stack[IIO_STACK_MAX];
  UINT8 Reserved2[189];
};
LAYOUT_OFFSET (UpiHostSocket, UpiSocketByte69, 0);
LAYOUT_OFFSET (UpiHostSocket, UpiSocketByte71, 2);
LAYOUT_OFFSET (UpiHostSocket, Stack, 205);
LAYOUT_SIZE (UpiHostSocket, 922);

struct [[gnu::packed]] UpiCxlStack {
  UINT8 Status; ///< The stack is CXL and ready when all of CXL_STATUS_READY is set.
  UINT8 Reserved[20];
};
LAYOUT_OFFSET (UpiCxlStack, Status, 0);
LAYOUT_SIZE (UpiCxlStack, 21);

inline constexpr UINT8 CXL_STATUS_READY = 0x03;

struct [[gnu::packed]] UpiHostRecord {
  UINT8 Reserved0[69];
  UpiHostSocket Socket[SOCKET_MAX];
  UINT8 Reserved1[486];
  UINT32 SocketBitmap; ///< Bit s is set if socket s is present.
  UINT8 Reserved2[47];
  UpiCxlStack CxlStack[SOCKET_MAX][CXL_STACK_MAX];
  UINT8 Reserved3[4213];
};
LAYOUT_OFFSET (UpiHostRecord, Socket, 69);
LAYOUT_OFFSET (UpiHostRecord, Socket[0].UpiSocketByte71, 71);
LAYOUT_OFFSET (UpiHostRecord, Socket[0].Stack[0].UpiStackDword39, 313);
LAYOUT_OFFSET (UpiHostRecord, SocketBitmap, 4243);
LAYOUT_OFFSET (UpiHostRecord, CxlStack, 4294);
LAYOUT_SIZE (UpiHostRecord, 9179);

struct [[gnu::packed]] UpiHostDataBlock {
  UINT8 FirstRecord[590];
  UpiHostRecord HostRecord;
  UINT8 ThirdRecord[703];
};
LAYOUT_OFFSET (UpiHostDataBlock, HostRecord, 590);
LAYOUT_OFFSET (UpiHostDataBlock, HostRecord.SocketBitmap, 4833);
LAYOUT_OFFSET (UpiHostDataBlock, ThirdRecord, 9769);
LAYOUT_SIZE (UpiHostDataBlock, 10472);
