/// The socket of a processor, as the driver takes it from CPUID.
#pragma once

#include "CpuidSets.h"

/// How many low bits of an APIC id number what is within one package (Intel SDM, volume 2, CPUID
/// leaf 0xB; AMD64 APM, volume 3, appendix E.5). 32 where there is one package whatever the id.
UINT32 BitsBelowPackage (const CpuidSet &Set);

/// The package of an APIC id, of which so many bits are below it.
constexpr UINT32
PackageOf (UINT64 ApicId, UINT32 BitsBelow)
{
  return static_cast<UINT32> (static_cast<UINT64> (static_cast<UINT32> (ApicId)) >> BitsBelow);
}
