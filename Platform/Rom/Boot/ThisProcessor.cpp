#include "ThisProcessor.h"

#include "Machine.h"

namespace {

constexpr UINT32 LeafMaximum = 0;
constexpr UINT32 LeafVersion = 1;

/// Its first sub-leaf gives the bits of the thread, its second those of all below the package
/// (Intel SDM, volume 2, CPUID).
constexpr UINT32 LeafTopology = 0xB;
constexpr UINT32 ShiftMask = 0x1F;
constexpr UINT32 ApicIdShift = 24;

} // namespace

MachineProcessor
PlaceOfThisProcessor ()
{
  UINT32 Maximum;
  UINT32 Levels = 0;
  UINT32 ThreadBits = 0;
  UINT32 PackageShift = 0;
  UINT32 ApicId;
  AsmCpuid (LeafMaximum, &Maximum, nullptr, nullptr, nullptr);
  if (Maximum >= LeafTopology) {
    AsmCpuidEx (LeafTopology, 0, &ThreadBits, &Levels, nullptr, nullptr);
    AsmCpuidEx (LeafTopology, 1, &PackageShift, nullptr, nullptr, &ApicId);
  }
  if (Levels == 0) {
    // Without the leaf each processor is a package of its own.
    AsmCpuid (LeafVersion, nullptr, &ApicId, nullptr, nullptr);
    ApicId >>= ApicIdShift;
    return {.ApicId = ApicId, .Package = ApicId, .Core = 0, .Thread = 0};
  }
  ThreadBits &= ShiftMask;
  PackageShift &= ShiftMask;
  const UINT32 InPackage = ApicId & ((1U << PackageShift) - 1);
  return {.ApicId = ApicId,
          .Package = ApicId >> PackageShift,
          .Core = InPackage >> ThreadBits,
          .Thread = InPackage & ((1U << ThreadBits) - 1)};
}
