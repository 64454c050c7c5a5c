#include "AutoGen.h"

#include "AcpiTableClient.h"
#include "CsrPseudoOffsetConvertLibSmm.h"
#include "DxeSmmStandaloneMmHobLib.h"
#include "EmulationConfigurationLib.h"
#include "ErrorReportLib.h"
#include "IioTopologyLib.h"
#include "LibraryCall.h"
#include "MmServicesTableLib.h"
#include "PeiDxeRasRcDataLib.h"
#include "RasAcpiParamLib.h"
#include "RasDebugLib.h"
#include "RasMailBoxLib.h"
#include "SmmMemoryAllocationLib.h"
#include "SmmMpExtensionLib.h"
#include "SmmOrvBufferValidationLib.h"
#include "SmmPciExpressLib.h"
#include "SmmPlatMemTopologyLib.h"
#include "SmmRasGlobalDataLib.h"
#include "SmmServicesTableLib.h"
#include "SysHostPointerLib.h"
#include "SystemInfoLib.h"
#include "UefiBootServicesTableLib.h"
#include "UefiRuntimeServicesTableLib.h"
#include "UpiHostDataLib.h"

namespace {

/// The constructor of a library that has nothing to construct.
RETURN_STATUS EFIAPI
EmptyConstructor ()
{
  return RETURN_SUCCESS;
}

EFI_STATUS EFIAPI
EmptyConstructorWithArguments (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  return EmptyConstructor ();
}

constexpr LibraryFunction Constructors[] = {
    {.FormA = UefiBootServicesTableLibConstructor},
    {.FormA = UefiRuntimeServicesTableLibConstructor},
    {.FormA = SmmServicesTableLibConstructor},
    {.FormA = SmmMemoryAllocationLibConstructor},
    {.FormB = EmptyConstructor},
    {.FormA = InitializeSmmRasGlobalData},
    {.FormA = SmmMpExtensionLibConstructor},
    {.FormB = RasDebugLibConstructor},
    {.FormA = RasMailBoxConstructor},
    {.FormA = EmptyConstructorWithArguments},
    {.FormA = HobLibConstructor},
    {.FormA = SystemInfoLibConstructor},
    {.FormA = RasAcpiParamConstructor},
    {.FormA = CsrPseudoOffsetConvertLibConstructor},
    {.FormA = SmmPciExpressLibConstructor},
    {.FormA = SmmSysHostPointerLibProtocolConstructor},
    {.FormA = EmulationConfigurationLibConstructor},
    {.FormA = UpiHostDataLibConstructor},
    {.FormA = RasRcDataLibConstructor},
    {.FormA = SmmPlatMemTopologyLibConstructor},
    {.FormA = IioTopologyLibConstructor},
    {.FormA = MmServicesTableLibConstructor},
    {.FormA = AcpiTableClientConstructor},
    {.FormA = InitializeErrorReportLib},
    {.FormA = SmmOrvBufferValidationLibConstructor},
};

constexpr LibraryFunction Destructors[] = {
    {.FormA = SmmSysHostPointerLibProtocolDestructor},
    {.FormA = SmmMemoryAllocationLibDestructor},
};

constexpr UINTN FirstConstructorLine = 902;
constexpr UINTN FirstDestructorLine = 1004;

static_assert (ArrayCount (Constructors) == 25);
static_assert (LibraryLine (FirstConstructorLine, ArrayCount (Constructors) - 1) == 974);
static_assert (LibraryLine (FirstDestructorLine, ArrayCount (Destructors) - 1) == 1007);

} // namespace

VOID EFIAPI
ProcessLibraryConstructorList (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable)
{
  CallLibraries (Constructors, ArrayCount (Constructors), FirstConstructorLine, ImageHandle,
                 SystemTable);
}

VOID EFIAPI
ProcessLibraryDestructorList (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable)
{
  // The library at position 21 has no entry in the list, and its notification must not reach a
  // driver that is gone.
  IioTopologyLibWithdraw ();
  CallLibraries (Destructors, ArrayCount (Destructors), FirstDestructorLine, ImageHandle,
                 SystemTable);
}
