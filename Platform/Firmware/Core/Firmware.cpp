#include "Firmware.h"

#include "BootServices.h"
#include "ConfigurationTables.h"
#include "CpuService.h"
#include "DebugService.h"
#include "FaultPlan.h"
#include "HandOffRecords.h"
#include "HobList.h"
#include "IpmiTransport.h"
#include "LoadedImages.h"
#include "LocatedProtocols.h"
#include "PcdDatabase.h"
#include "Pool.h"
#include "Protocol/SmmReadyToLock.h"
#include "ProtocolDatabase.h"
#include "SmmAccess.h"
#include "SmmServices.h"
#include "StatusCodeRouter.h"
#include "SystemInventory.h"
#include "Usra.h"
#include "VariablePolicy.h"
#include "VariableStore.h"

namespace {

/// All subjects, those first on which others rest.
constexpr VOID (*ResetSubject[]) () = {
    FaultPlanReset,
    PoolReset,
    ProtocolDatabaseReset,
    BootServicesReset,
    SmmServicesReset,
    LoadedImagesReset,
    DebugServiceReset,
    StatusCodeRouterReset,
    IpmiTransportReset,
    SystemInventoryReset,
    VariableStoreReset,
    VariablePolicyReset,
    CpuServiceReset,
    LocatedProtocolsReset,
    HobListReset,
    ConfigurationTablesReset,
    SmmAccessReset,
    PcdDatabaseReset,
    UsraReset,
    HandOffRecordsReset,
};

} // namespace

VOID
FirmwareReset (const FirmwareWorld *World)
{
  gWorld = *World;
  for (const auto Reset : ResetSubject) {
    Reset ();
  }
}

VOID
FirmwareSignalReadyToLock ()
{
  ProtocolPublish (ProtocolSmm, &gEfiSmmReadyToLockProtocolGuid, nullptr);
  BootServicesClose ();
}
