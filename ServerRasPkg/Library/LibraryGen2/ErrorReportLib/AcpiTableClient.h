/// Binds the ACPI table protocol. Nothing calls through it.
#pragma once

#include "Uefi/SystemTable.h"

extern "C" {

/// Library constructor. Ignores its arguments. Always returns EFI_SUCCESS: a protocol that is not
/// there costs one line of the RAS debug log.
EFI_STATUS EFIAPI AcpiTableClientConstructor (EFI_HANDLE ImageHandle,
                                              EFI_SYSTEM_TABLE *SystemTable);
}
