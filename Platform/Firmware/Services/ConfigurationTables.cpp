#include "ConfigurationTables.h"

#include "BootServices.h"
#include "FaultPlan.h"
#include "Guid/HobList.h"
#include "HobList.h"
#include "SmmServices.h"

namespace {

/// The ACPI tables (UEFI 2.10, 4.6.1), which nobody here reads.
constexpr EFI_GUID gEfiAcpiTableGuid = {
    0x8868E871, 0xE4F1, 0x11D3, {0xBC, 0x22, 0x00, 0x80, 0xC7, 0x3C, 0x88, 0x81}};

constinit EFI_CONFIGURATION_TABLE mTables[2] = {};

} // namespace

VOID
ConfigurationTablesReset ()
{
  mTables[0] = {.VendorGuid = gEfiAcpiTableGuid, .VendorTable = UndefinedPointer ()};
  mTables[1] = {.VendorGuid = gEfiHobListGuid, .VendorTable = HobListHead ()};
  gSystemTable.NumberOfTableEntries = ArrayCount (mTables);
  gSystemTable.ConfigurationTable = mTables;
  gSmmSystemTable.NumberOfTableEntries = ArrayCount (mTables);
  gSmmSystemTable.SmmConfigurationTable = mTables;
}
