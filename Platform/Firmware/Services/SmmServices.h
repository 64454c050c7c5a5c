/// The SMM services table and the base protocol that leads to it.
#pragma once

#include "Uefi/SmmSystemTable.h"

extern "C" {

/// The table; every entry that the firmware does not provide faults with its name.
extern EFI_SMM_SYSTEM_TABLE2 gSmmSystemTable;

/// Fills the table and installs EFI_SMM_BASE2_PROTOCOL.
VOID SmmServicesReset ();
}
