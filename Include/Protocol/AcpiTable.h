/// EFI_ACPI_TABLE_PROTOCOL (UEFI 2.10, 20.2), which is only ever located.
#pragma once

#include "Base.h"

inline constexpr EFI_GUID gEfiAcpiTableProtocolGuid = {
    0xFFE06BDD, 0x6107, 0x46A6, {0x7B, 0xB2, 0x5A, 0x9C, 0x7E, 0xC5, 0x27, 0x5C}};
