#include "GuidNames.h"

#include "Identity.h"
#include "Protocol/AcpiTable.h"
#include "Protocol/CsrPseudoOffsetTable.h"
#include "Protocol/EmulationConfiguration.h"
#include "Protocol/LoadedImage.h"
#include "Protocol/OrvBufferValidation.h"
#include "Protocol/PcdProtocol.h"
#include "Protocol/SmmAccess2.h"
#include "Protocol/SmmBase2.h"
#include "Protocol/SmmCpuService.h"
#include "Protocol/SmmDebugService.h"
#include "Protocol/SmmIpmiTransport.h"
#include "Protocol/SmmReadyToLock.h"
#include "Protocol/SmmRscHandler.h"
#include "Protocol/SmmVariable.h"
#include "Protocol/Usra.h"
#include "Protocol/VariablePolicy.h"
#include "Record/Inventory.h"
#include "Record/RasGlobalData.h"
#include "Record/StaticPointerTable.h"
#include "Record/SystemInfoRecord.h"
#include "Record/UpiHostData.h"

#define NAMED(Name)      \
  {                      \
    g##Name##Guid, #Name \
  }

namespace {

constexpr NamedGuid Names[] = {
    NAMED (CsrPseudoOffsetTableProtocol),
    NAMED (EdkiiVariablePolicyProtocol),
    NAMED (EfiAcpiTableProtocol),
    NAMED (EfiLoadedImageProtocol),
    NAMED (EfiMmBaseProtocol),
    NAMED (EfiSmmAccess2Protocol),
    NAMED (EfiSmmBase2Protocol),
    NAMED (EfiSmmCpuServiceProtocol),
    NAMED (EfiSmmReadyToLockProtocol),
    NAMED (EfiSmmRscHandlerProtocol),
    NAMED (EfiSmmVariableProtocol),
    NAMED (EmulationConfigurationProtocol),
    NAMED (OrvBufferValidationProtocol),
    NAMED (OrvSmmSystemInventoryInfoProtocol),
    NAMED (PcdProtocol),
    NAMED (RasGlobalDataVariable),
    NAMED (SmmDebugServiceProtocol),
    NAMED (SmmIpmiTransportProtocol),
    NAMED (SmmKtiProtocol),
    NAMED (StaticPointerTableProtocol),
    NAMED (SystemInfoProtocol),
    NAMED (UsraProtocol),
};

} // namespace

std::span<const NamedGuid>
NamedGuids ()
{
  return Names;
}

std::string
GuidName (const EFI_GUID &Guid)
{
  for (const NamedGuid &Each : Names) {
    if (IsSameGuid (Each.Guid, Guid)) {
      return Each.Name;
    }
  }
  return "unknown GUID";
}
