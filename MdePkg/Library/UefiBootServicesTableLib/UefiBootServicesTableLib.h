/// Binds the image handle, the system table and the boot services table.
#pragma once

#include "Uefi/SystemTable.h"

extern "C" {

/// Null until the constructor has run, read-only from then on; they belong to the firmware.
extern EFI_HANDLE gImageHandle;
extern EFI_SYSTEM_TABLE *gST;
extern EFI_BOOT_SERVICES *gBS;

/// Fills the three from its arguments. Always returns EFI_SUCCESS: a null shows in the assertions
/// alone.
EFI_STATUS EFIAPI UefiBootServicesTableLibConstructor (EFI_HANDLE ImageHandle,
                                                       EFI_SYSTEM_TABLE *SystemTable);
}
