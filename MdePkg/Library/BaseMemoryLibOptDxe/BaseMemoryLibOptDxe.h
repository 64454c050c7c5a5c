/// Copy, fill and comparison of memory.
///
/// The buffers are the caller's and lengths are in bytes. A failed assertion that returns changes
/// nothing: the operation goes on as if its condition had held.
#pragma once

#include "Base.h"

extern "C" {

/// Copies Length bytes between ranges that may overlap. Returns DestinationBuffer. Asserts that
/// neither range runs over the end of the address space.
VOID *EFIAPI CopyMem (VOID *DestinationBuffer, const VOID *SourceBuffer, UINTN Length);

/// Writes Length zero bytes. Returns Buffer. Asserts, unless Length is 0, that Buffer is not null
/// and that the range does not run over the end of the address space.
VOID *EFIAPI ZeroMem (VOID *Buffer, UINTN Length);

/// Writes Length bytes of Value. Returns Buffer. Asserts that the range does not run over the end
/// of the address space; a Length of 0 fails that too.
VOID *EFIAPI SetMem (VOID *Buffer, UINTN Length, UINT8 Value);

/// Copies a GUID between any addresses. Returns DestinationGuid. Asserts that neither is null.
EFI_GUID *EFIAPI CopyGuid (EFI_GUID *DestinationGuid, const EFI_GUID *SourceGuid);

/// Whether two GUIDs at any addresses are equal. Asserts that neither is null.
BOOLEAN EFIAPI CompareGuid (const EFI_GUID *Guid1, const EFI_GUID *Guid2);
}
