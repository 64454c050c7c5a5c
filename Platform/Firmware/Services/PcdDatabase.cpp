#include "PcdDatabase.h"

#include "FirmwareWorld.h"
#include "Pcd.h"
#include "ProtocolDatabase.h"
#include "UnprovidedService.h"

constinit PcdProtocol gPcd = {};

namespace {

UINT64 EFIAPI
Get64 (UINTN TokenNumber)
{
  if (TokenNumber != PcdTokenPciExpressBaseAddress) {
    FirmwareFault ("the PCD database has no 64-bit setting of this token");
  }
  return gWorld.PciExpressBase;
}

} // namespace

#define UNPROVIDED(Entry) UnprovidedService<"the PCD protocol has no member " #Entry>

VOID
PcdDatabaseReset ()
{
  gPcd = {.Reserved = {UNPROVIDED (0), UNPROVIDED (1), UNPROVIDED (2), UNPROVIDED (3)},
          .Get64 = Get64};
  ProtocolPublish (ProtocolBoot, &gPcdProtocolGuid, &gPcd);
}
