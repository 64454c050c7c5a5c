/// The driver's heap: SMM pool of type EfiRuntimeServicesData.
///
/// It is as safe between processors as the SMM services under it.
#pragma once

#include "Uefi/SystemTable.h"

extern "C" {

/// Keeps a copy of the SMRAM map, by which FreePool tells whose a buffer is. Always returns
/// EFI_SUCCESS: a failure shows in the assertions alone, and the copy then stays empty, so that
/// FreePool takes every buffer for one of the boot services.
EFI_STATUS EFIAPI SmmMemoryAllocationLibConstructor (EFI_HANDLE ImageHandle,
                                                     EFI_SYSTEM_TABLE *SystemTable);

/// Frees the copy of the SMRAM map, the last thing that a driver does. Always returns EFI_SUCCESS.
EFI_STATUS EFIAPI SmmMemoryAllocationLibDestructor (EFI_HANDLE ImageHandle,
                                                    EFI_SYSTEM_TABLE *SystemTable);

/// Returns AllocationSize bytes, which are the caller's until FreePool, or null. Their contents are
/// undefined.
[[nodiscard]] VOID *AllocatePool (UINTN AllocationSize);

/// The same, with all bytes zero.
[[nodiscard]] VOID *AllocateZeroPool (UINTN AllocationSize);

/// Frees a live pool allocation, which is not null: one that starts in SMRAM by the SMM services,
/// any other by the boot services. A refusal is an assertion.
VOID FreePool (VOID *Buffer);
}
