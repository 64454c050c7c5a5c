#include "IpmiTransport.h"

#include "FaultPlan.h"
#include "FirmwareWorld.h"
#include "ProtocolDatabase.h"
#include "UnprovidedService.h"

constinit SmmIpmiTransportProtocol gIpmiTransport = {};

namespace {

EFI_STATUS EFIAPI
SendIpmiCommand (SmmIpmiTransportProtocol *This,
                 UINT8 NetFunction,
                 UINT8 Lun,
                 UINT8 Command,
                 const UINT8 *CommandData,
                 UINT8 CommandDataSize,
                 UINT8 *ResponseData,
                 UINT8 *ResponseDataSize)
{
  if (This != &gIpmiTransport) {
    FirmwareFault ("SendIpmiCommand of an unknown interface");
  }
  if (CommandData == nullptr && CommandDataSize != 0) {
    FirmwareFault ("SendIpmiCommand without its request data");
  }
  if (ResponseData == nullptr || ResponseDataSize == nullptr || *ResponseDataSize == 0) {
    FirmwareFault ("SendIpmiCommand without room for the completion code");
  }
  const EFI_STATUS Planned = FaultPlanCount (ServiceSendIpmiCommand);
  if (EFI_ERROR (Planned)) {
    return Planned;
  }
  const IpmiRequest Request = {.NetFunction = NetFunction,
                               .Lun = Lun,
                               .Command = Command,
                               .DataSize = CommandDataSize,
                               .Data = CommandData};
  const EFI_STATUS Status =
      gWorld.SendToBmc (gWorld.Context, &Request, ResponseData, ResponseDataSize);
  return EFI_ERROR (Status) ? Status : Planned;
}

} // namespace

VOID
IpmiTransportReset ()
{
  gIpmiTransport = {
      .Reserved =
          reinterpret_cast<VOID *> (UnprovidedService<"the IPMI transport has no entry at 0">),
      .SendIpmiCommand = SendIpmiCommand,
  };
  ProtocolPublish (ProtocolSmm, &gSmmIpmiTransportProtocolGuid, &gIpmiTransport);
}
