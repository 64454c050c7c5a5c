#include "RasAcpiParamLib.h"

#include "BaseMemoryLibOptDxe.h"
#include "RasDebugLib.h"
#include "Record/RasAcpiParam.h"
#include "SmmRasGlobalDataLib.h"

namespace {

/// The shared block; null if there is none.
constinit RasAcpiParam *mRasAcpiParam = nullptr;

} // namespace

EFI_STATUS EFIAPI
RasAcpiParamConstructor (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  BOOLEAN NewBuffer = FALSE;
  mRasAcpiParam = static_cast<RasAcpiParam *> (GetRasGlobalDataMemoryType (
      RasAcpiParamName, sizeof (RasAcpiParam), EfiReservedMemoryType, &NewBuffer));
  if (mRasAcpiParam == nullptr) {
    RasDebugPrint (RAS_DEBUG_FAILURE, "RasAcpiParam buffer is not allocated\n");
    return EFI_OUT_OF_RESOURCES;
  }
  if (NewBuffer) {
    SetMem (mRasAcpiParam->Entries, sizeof (mRasAcpiParam->Entries), RAS_ACPI_PARAM_UNSET);
    mRasAcpiParam->ParamWord = 0;
  }
  return EFI_SUCCESS;
}
