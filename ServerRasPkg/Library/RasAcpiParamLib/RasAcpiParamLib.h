/// Sees to it that the shared ACPI parameter block exists.
#pragma once

#include "Uefi/SystemTable.h"

extern "C" {

/// Library constructor: finds the block, or makes it, outside SMM memory, and gives it its start
/// state. Ignores its arguments. Returns EFI_OUT_OF_RESOURCES if the block cannot be had, which the
/// RAS debug log tells too.
EFI_STATUS EFIAPI RasAcpiParamConstructor (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);
}
