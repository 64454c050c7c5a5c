/// Sees to it that the shared RAS mailbox exists.
#pragma once

#include "Uefi/SystemTable.h"

extern "C" {

/// Library constructor: finds the mailbox, or makes it and gives it its start state. Ignores its
/// arguments. Always returns EFI_SUCCESS: a mailbox that cannot be had is the store's to report.
EFI_STATUS EFIAPI RasMailBoxConstructor (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);
}
