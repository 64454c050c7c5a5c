/// Where a processor stands, as its APIC id tells it.
#pragma once

#include "Base.h"

/// Each number is counted from 0 within the one before, and is a field of the APIC id, so that it
/// may have gaps.
struct ProcessorPlace {
  UINT64 ProcessorId; ///< The APIC id.
  UINT32 Package;
  UINT32 Core;
  UINT32 Thread;
};

/// The CPUID leaf that tells how an APIC id divides: EAX of its first sub-leaf has the number of
/// bits of the thread, that of its second those of all below the package (Intel SDM, volume 2,
/// CPUID).
inline constexpr UINT32 TopologyLeaf = 0xB;

/// Divides an APIC id by EAX of these two sub-leaves. Both are 0 for a processor without the leaf,
/// which so is a package of its own.
inline ProcessorPlace
PlaceOfApicId (UINT32 ApicId, UINT32 ThreadEax, UINT32 PackageEax)
{
  constexpr UINT32 ShiftMask = 0x1F;
  const UINT32 ThreadBits = ThreadEax & ShiftMask;
  const UINT32 PackageBits = PackageEax & ShiftMask;
  const UINT32 InPackage = ApicId & ((1U << PackageBits) - 1);
  return {.ProcessorId = ApicId,
          .Package = ApicId >> PackageBits,
          .Core = InPackage >> ThreadBits,
          .Thread = InPackage & ((1U << ThreadBits) - 1)};
}
