#include "ThisProcessor.h"

#include "Machine.h"

namespace {

constexpr UINT32 LeafMaximum = 0;
constexpr UINT32 LeafVersion = 1;

constexpr UINT32 ApicIdShift = 24;

} // namespace

ProcessorPlace
PlaceOfThisProcessor ()
{
  UINT32 Maximum;
  UINT32 Levels = 0;
  UINT32 ThreadEax = 0;
  UINT32 PackageEax = 0;
  UINT32 ApicId;
  AsmCpuid (LeafMaximum, &Maximum, nullptr, nullptr, nullptr);
  if (Maximum >= TopologyLeaf) {
    AsmCpuidEx (TopologyLeaf, 0, &ThreadEax, &Levels, nullptr, nullptr);
    AsmCpuidEx (TopologyLeaf, 1, &PackageEax, nullptr, nullptr, &ApicId);
  }
  if (Levels == 0) {
    AsmCpuid (LeafVersion, nullptr, &ApicId, nullptr, nullptr);
    ApicId >>= ApicIdShift;
    return PlaceOfApicId (ApicId, 0, 0);
  }
  return PlaceOfApicId (ApicId, ThreadEax, PackageEax);
}
