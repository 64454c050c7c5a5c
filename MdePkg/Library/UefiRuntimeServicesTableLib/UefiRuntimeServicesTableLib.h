/// Binds the runtime services table.
#pragma once

#include "Uefi/SystemTable.h"

extern "C" {

/// Null until the constructor has run, read-only from then on; it belongs to the firmware.
extern EFI_RUNTIME_SERVICES *gRT;

/// Fills gRT from SystemTable. Always returns EFI_SUCCESS: a null shows in the assertion alone.
EFI_STATUS EFIAPI UefiRuntimeServicesTableLibConstructor (EFI_HANDLE ImageHandle,
                                                          EFI_SYSTEM_TABLE *SystemTable);
}
