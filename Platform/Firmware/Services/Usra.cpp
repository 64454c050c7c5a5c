#include "Usra.h"

#include "FirmwareWorld.h"
#include "ProtocolDatabase.h"
#include "UnprovidedService.h"

constinit UsraProtocol gUsra = {};

namespace {

constexpr ServiceName Usra = "the USRA protocol has no member ";

VOID *EFIAPI
UsraGetAddress (const UsraPcieAddress *Address)
{
  if (Address->Segment >= gWorld.PciSegmentCount) {
    FirmwareFault ("USRA was asked for a segment that the machine does not have");
  }
  if (Address->Location >= PciSegmentSize || Address->Reserved[0] != 0 ||
      Address->Reserved[1] != 0) {
    FirmwareFault ("USRA was given a record with unknown bits");
  }
  return reinterpret_cast<VOID *> (gWorld.PciExpressBase + Address->Segment * PciSegmentSize +
                                   Address->Location);
}

} // namespace

VOID
UsraReset ()
{
  gUsra = {.Reserved = {UNPROVIDED (Usra, 0), UNPROVIDED (Usra, 1), UNPROVIDED (Usra, 2)},
           .UsraGetAddress = UsraGetAddress};
  ProtocolPublish (ProtocolSmm, &gUsraProtocolGuid, &gUsra);
}
