#include "Usra.h"

#include "FirmwareWorld.h"
#include "ProtocolDatabase.h"
#include "UnprovidedService.h"

constinit UsraProtocol gUsra = {};

namespace {

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

#define UNPROVIDED(Entry) UnprovidedService<"the USRA protocol has no member " #Entry>

VOID
UsraReset ()
{
  gUsra = {.Reserved = {UNPROVIDED (0), UNPROVIDED (1), UNPROVIDED (2)},
           .UsraGetAddress = UsraGetAddress};
  ProtocolPublish (ProtocolSmm, &gUsraProtocolGuid, &gUsra);
}
