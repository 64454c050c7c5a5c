/// Where the firmware enters the driver's image.
#pragma once

#include "Uefi/SystemTable.h"

extern "C" {

/// The image's entry: runs the library constructors, then the driver's entry, and after an error
/// of that the library destructors. Returns the entry's status; EFI_INCOMPATIBLE_VERSION, with
/// nothing run, if the system table is older than _gUefiDriverRevision.
EFI_STATUS EFIAPI _ModuleEntryPoint (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

/// The image's unload handler, hooked if _gDriverUnloadImageCount is not 0. Runs the driver's
/// unload functions and, if they allow it, the library destructors. Returns the status of the
/// former.
EFI_STATUS EFIAPI _DriverUnloadHandler (EFI_HANDLE ImageHandle);
}
