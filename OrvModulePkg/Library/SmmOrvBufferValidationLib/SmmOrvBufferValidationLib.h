/// Binds the protocol for checking buffers. Nothing calls through it: start-up depends on its being
/// there, and that is all.
#pragma once

#include "Uefi/SystemTable.h"

extern "C" {

/// Library constructor. Ignores its arguments. Returns the status of the search; a failure is an
/// assertion.
EFI_STATUS EFIAPI SmmOrvBufferValidationLibConstructor (EFI_HANDLE ImageHandle,
                                                        EFI_SYSTEM_TABLE *SystemTable);
}
