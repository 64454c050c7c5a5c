/// Sees to it that the shared store of the memory topology exists.
#pragma once

#include "Uefi/SystemTable.h"

extern "C" {

/// Library constructor: finds the store, or makes it. Ignores its arguments. Always returns
/// EFI_SUCCESS: a store that cannot be had is a RAS_ASSERT.
EFI_STATUS EFIAPI SmmPlatMemTopologyLibConstructor (EFI_HANDLE ImageHandle,
                                                    EFI_SYSTEM_TABLE *SystemTable);
}
