/// Binds the MM services table, which is the SMM services table under its newer name.
#pragma once

#include "Uefi/SmmSystemTable.h"

extern "C" {

/// The MM services table. Null until the constructor has run, read-only from then on; the table
/// belongs to the firmware.
extern EFI_MM_SYSTEM_TABLE *gMmst;

/// Fills gMmst by way of the MM base protocol. Always returns EFI_SUCCESS: a failure shows in the
/// assertions alone, and gMmst then stays null.
EFI_STATUS EFIAPI MmServicesTableLibConstructor (EFI_HANDLE ImageHandle,
                                                 EFI_SYSTEM_TABLE *SystemTable);
}
