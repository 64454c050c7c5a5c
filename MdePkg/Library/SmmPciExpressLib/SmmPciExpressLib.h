/// PCI configuration registers in the PCI Express window: 256 MiB of memory, whose base the
/// platform sets.
///
/// An address is 28 bits: bus, device, function and register as PcieLocation packs them. Outside
/// the window, and everywhere until the constructor has run, a read gives all ones and a write does
/// nothing. No operation holds state, so all processors may use them.
#pragma once

#include "Uefi/SystemTable.h"

extern "C" {

/// Library constructor: sets up the window. Ignores its arguments. Always returns EFI_SUCCESS: a
/// platform that cannot tell the base shows in assertions alone, and there is no window then.
EFI_STATUS EFIAPI SmmPciExpressLibConstructor (EFI_HANDLE ImageHandle,
                                               EFI_SYSTEM_TABLE *SystemTable);

/// Returns where an address of the window is mapped, or all ones outside the window. An address of
/// more than 28 bits is an assertion.
UINTN PciExpressWindowAddress (UINT64 Address);

UINT8 PciExpressRead8 (UINT64 Address);
UINT16 PciExpressRead16 (UINT64 Address);
UINT32 PciExpressRead32 (UINT64 Address);

/// Each returns what it has written, or all ones outside the window.
UINT32 PciExpressWrite32 (UINT64 Address, UINT32 Value);
UINT16 PciExpressOr16 (UINT64 Address, UINT16 Value);
UINT16 PciExpressAnd16 (UINT64 Address, UINT16 Value);
}
