#include "AutoGen.h"

#include "AcpiTableClient.h"
#include "DxeSmmStandaloneMmHobLib.h"
#include "ErrorReportLib.h"
#include "LibraryCall.h"
#include "MmServicesTableLib.h"
#include "RasAcpiParamLib.h"
#include "RasDebugLib.h"
#include "RasMailBoxLib.h"
#include "SmmMemoryAllocationLib.h"
#include "SmmMpExtensionLib.h"
#include "SmmOrvBufferValidationLib.h"
#include "SmmPlatMemTopologyLib.h"
#include "SmmRasGlobalDataLib.h"
#include "SmmServicesTableLib.h"
#include "UefiBootServicesTableLib.h"
#include "UefiRuntimeServicesTableLib.h"

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

/// A position whose library is still to come.
constexpr LibraryFunction ToCome = {.FormA = EmptyConstructorWithArguments};

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
    ToCome, // SystemInfoLibSmm
    {.FormA = RasAcpiParamConstructor},
    ToCome, // CsrPseudoOffsetConvertLibSmm
    ToCome, // SmmPciExpressLib
    ToCome, // SysHostPointerLib
    ToCome, // EmulationConfigurationSmmLib
    ToCome, // UpiHostDataLibSmm
    ToCome, // DxeRasRcDataLib
    {.FormA = SmmPlatMemTopologyLibConstructor},
    ToCome, // IioTopologyLibSpr
    {.FormA = MmServicesTableLibConstructor},
    {.FormA = AcpiTableClientConstructor},
    {.FormA = InitializeErrorReportLib},
    {.FormA = SmmOrvBufferValidationLibConstructor},
};

constexpr LibraryFunction Destructors[] = {
    ToCome, // SysHostPointerLib
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
  CallLibraries (Destructors, ArrayCount (Destructors), FirstDestructorLine, ImageHandle,
                 SystemTable);
}
