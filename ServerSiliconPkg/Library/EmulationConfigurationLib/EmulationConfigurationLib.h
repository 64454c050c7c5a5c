/// Binds the emulation configuration.
#pragma once

#include "Uefi/SystemTable.h"

extern "C" {

/// The configuration, which belongs to its producer. Null until the constructor has succeeded,
/// read-only from then on. Nothing in this driver looks into it.
extern const VOID *mEmulationConfig;

/// Library constructor: fills mEmulationConfig. Ignores its arguments. Returns as BindSmmProtocol
/// does.
EFI_STATUS EFIAPI EmulationConfigurationLibConstructor (EFI_HANDLE ImageHandle,
                                                        EFI_SYSTEM_TABLE *SystemTable);
}
