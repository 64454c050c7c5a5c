/// The local APIC of the executing processor, in xAPIC mode (Intel SDM, volume 3, chapter 11).
#pragma once

#include "Base.h"

/// Vectors that the boot code uses.
inline constexpr UINT8 VectorWake = 0x30;
inline constexpr UINT8 VectorSerial = 0x31;
inline constexpr UINT8 VectorSpurious = 0x3F;

extern "C" {

/// Makes the APIC take interrupts. To be called on each processor.
VOID LocalApicEnable ();

/// Id of the executing processor's APIC, 8 bits.
UINT32 LocalApicId ();

/// The interrupt in service is done.
VOID LocalApicEndInterrupt ();

/// Sends VectorWake to the processor with this APIC id.
VOID LocalApicWake (UINT32 ApicId);

/// Makes all other processors start at Page * 4 KiB.
VOID LocalApicStartOthers (UINT8 Page);
}
