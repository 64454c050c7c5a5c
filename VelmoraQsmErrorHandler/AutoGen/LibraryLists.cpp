#include "AutoGen.h"

#include "ErrorReportLib.h"
#include "LibraryCall.h"
#include "MmServicesTableLib.h"
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
constexpr LibraryFunction ToComeA = {.FormA = EmptyConstructorWithArguments};
constexpr LibraryFunction ToComeB = {.FormB = EmptyConstructor};

constexpr LibraryFunction Constructors[] = {
    {.FormA = UefiBootServicesTableLibConstructor},
    {.FormA = UefiRuntimeServicesTableLibConstructor},
    {.FormA = SmmServicesTableLibConstructor},
    ToComeA, // SmmMemoryAllocationLib
    {.FormB = EmptyConstructor},
    ToComeA, // SmmRasGlobalDataLib
    ToComeA, // SmmMpExtensionLib
    ToComeB, // BaseRasDebugLibSerialPort
    ToComeA, // RasMailBoxConstructor
    {.FormA = EmptyConstructorWithArguments},
    ToComeA, // DxeSmmStandaloneMmHobLib
    ToComeA, // SystemInfoLibSmm
    ToComeA, // RasAcpiParamConstructor
    ToComeA, // CsrPseudoOffsetConvertLibSmm
    ToComeA, // SmmPciExpressLib
    ToComeA, // SysHostPointerLib
    ToComeA, // EmulationConfigurationSmmLib
    ToComeA, // UpiHostDataLibSmm
    ToComeA, // DxeRasRcDataLib
    ToComeA, // SmmPlatMemTopologyLib
    ToComeA, // IioTopologyLibSpr
    {.FormA = MmServicesTableLibConstructor},
    ToComeA, // ACPI table client
    {.FormA = InitializeErrorReportLib},
    ToComeA, // SmmOrvBufferValidationLib
};

constexpr LibraryFunction Destructors[] = {
    ToComeA, // SysHostPointerLib
    ToComeA, // SmmMemoryAllocationLib
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
