/// The driver's fixed lists: what runs at load and at the end, in which order.
#pragma once

#include "Uefi/SystemTable.h"

extern "C" {

/// Lowest system table revision that the driver accepts; 0 makes no test.
extern const UINT32 _gUefiDriverRevision;

/// Non-zero if the driver can be unloaded; 0 hooks no unload handler.
extern const UINT8 _gDriverUnloadImageCount;

/// What the driver's entry leaves behind.
extern EFI_STATUS mDriverEntryPointStatus;

/// Runs the library constructors in their fixed order. A failure is asserted and the list goes on.
VOID EFIAPI ProcessLibraryConstructorList (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

/// Takes the IIO topology's notification back and runs the library destructors, in the reverse
/// order of their constructors. A failure is asserted and the list goes on.
VOID EFIAPI ProcessLibraryDestructorList (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

/// Runs the driver's entry so that ExitDriver can leave it from any depth of calls. Returns what
/// the entry left behind.
EFI_STATUS EFIAPI ProcessModuleEntryPointList (EFI_HANDLE ImageHandle,
                                               EFI_SYSTEM_TABLE *SystemTable);

/// Runs the driver's unload functions, of which there are none. Returns EFI_SUCCESS.
EFI_STATUS EFIAPI ProcessModuleUnloadList (EFI_HANDLE ImageHandle);

/// Leaves the driver's entry with Status, which replaces a stored error but never, being an error,
/// a stored success. Does not return while the jump works.
VOID EFIAPI ExitDriver (EFI_STATUS Status);
}

/// The source file that all assertions of these lists report.
inline constexpr CHAR8 AutoGenSourceFile[] = "AutoGen";
