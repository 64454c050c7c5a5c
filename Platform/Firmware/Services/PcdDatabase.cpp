#include "PcdDatabase.h"

#include "FirmwareWorld.h"
#include "Pcd.h"
#include "ProtocolDatabase.h"
#include "UnprovidedService.h"

constinit PcdProtocol gPcd = {};

namespace {

constexpr ServiceName Pcd = "the PCD protocol has no member ";

UINT64 EFIAPI
Get64 (UINTN TokenNumber)
{
  if (TokenNumber != PcdTokenPciExpressBaseAddress) {
    FirmwareFault ("the PCD database has no 64-bit setting of this token");
  }
  return gWorld.PciExpressBase;
}

} // namespace

VOID
PcdDatabaseReset ()
{
  gPcd = {.Reserved = {UNPROVIDED (Pcd, 0), UNPROVIDED (Pcd, 1), UNPROVIDED (Pcd, 2),
                       UNPROVIDED (Pcd, 3)},
          .Get64 = Get64};
  ProtocolPublish (ProtocolBoot, &gPcdProtocolGuid, &gPcd);
}
