/// The lists of capabilities in a function's configuration space (PCI Express Base 6.0, 7.5.1.1.11
/// and 7.6.3).
#pragma once

#include "Base.h"

/// The two parts of configuration space. A list begins behind the header, and at the second part.
inline constexpr UINTN PciConfigurationSize = 0x100;
inline constexpr UINTN PciExtendedConfigurationSize = 0x1000;

extern "C" {

/// Offset of a capability of the function that is mapped at Function, 0 without it. A list may be
/// damaged: it ends at the header, and after as many capabilities as there is room for.
UINT16 FindPciCapability (UINTN Function, UINT8 Id);

/// The same for the extended capabilities.
UINT16 FindExtendedPciCapability (UINTN Function, UINT16 Id);
}
