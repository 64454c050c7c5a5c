#include "AutoGen.h"

#include "ErrorReportLib.h"
#include "MmServicesTableLib.h"
#include "SmmDebugServiceLib.h"
#include "SmmServicesTableLib.h"
#include "UefiBootServicesTableLib.h"
#include "UefiRuntimeServicesTableLib.h"

namespace {

/// A library constructor or destructor. One of the two call forms is set.
struct LibraryFunction {
  /// Gets both arguments; asserts as ASSERT_EFI_ERROR.
  EFI_STATUS (EFIAPI *FormA) (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable) = nullptr;

  /// Gets nothing; asserts as ASSERT_RETURN_ERROR.
  RETURN_STATUS (EFIAPI *FormB) () = nullptr;
};

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

/// The reported lines of a list rise by a fixed step.
constexpr UINTN LineStep = 3;
constexpr UINTN FirstConstructorLine = 902;
constexpr UINTN FirstDestructorLine = 1004;

static_assert (ArrayCount (Constructors) == 25);
static_assert (FirstConstructorLine + LineStep * (ArrayCount (Constructors) - 1) == 974);
static_assert (FirstDestructorLine + LineStep * (ArrayCount (Destructors) - 1) == 1007);

/// Calls one list, each function once. Line is that of the first assertion.
template <UINTN Count>
VOID
CallEach (const LibraryFunction (&List)[Count],
          UINTN Line,
          EFI_HANDLE ImageHandle,
          EFI_SYSTEM_TABLE *SystemTable)
{
  for (const LibraryFunction &Library : List) {
    const AssertionSite Site = {AutoGenSourceFile, Line};
    if (Library.FormA != nullptr) {
      const EFI_STATUS Status = Library.FormA (ImageHandle, SystemTable);
      ASSERT_EFI_ERROR (Status, Site);
    } else {
      const RETURN_STATUS Status = Library.FormB ();
      ASSERT_RETURN_ERROR (Status, Site);
    }
    Line += LineStep;
  }
}

} // namespace

VOID EFIAPI
ProcessLibraryConstructorList (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable)
{
  CallEach (Constructors, FirstConstructorLine, ImageHandle, SystemTable);
}

VOID EFIAPI
ProcessLibraryDestructorList (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable)
{
  CallEach (Destructors, FirstDestructorLine, ImageHandle, SystemTable);
}
