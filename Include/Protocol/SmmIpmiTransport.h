/// The SMM IPMI transport: sends one command to the BMC and waits for its answer.
#pragma once

#include "Base.h"

inline constexpr EFI_GUID gSmmIpmiTransportProtocolGuid = {
    0x1DBD1503, 0x0A60, 0x4230, {0xAA, 0xA3, 0x80, 0x16, 0xD8, 0xC3, 0xDE, 0x2F}};

struct SmmIpmiTransportProtocol {
  VOID *Reserved;

  /// CommandDataSize is in bytes. *ResponseDataSize holds the bytes that ResponseData has room for
  /// and receives the bytes written; the first response byte is the completion code (IPMI 2.0,
  /// 5.2).
  EFI_STATUS (EFIAPI *SendIpmiCommand)
  (SmmIpmiTransportProtocol *This,
   UINT8 NetFunction,
   UINT8 Lun,
   UINT8 Command,
   const UINT8 *CommandData,
   UINT8 CommandDataSize,
   UINT8 *ResponseData,
   UINT8 *ResponseDataSize);
};
LAYOUT_OFFSET (SmmIpmiTransportProtocol, SendIpmiCommand, 8);
