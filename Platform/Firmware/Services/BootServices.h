/// The system table with the boot services, which end at SmmReadyToLock, and the runtime services.
#pragma once

#include "Uefi/SystemTable.h"

extern "C" {

/// Its services' entries that the firmware does not provide fault with their names.
extern EFI_SYSTEM_TABLE gSystemTable;

VOID BootServicesReset ();

/// From now on every call of a boot service is a fault.
VOID BootServicesClose ();
}
