#include "ApicPackage.h"

#include <algorithm>
#include <bit>

namespace {

constexpr UINT32 LEAF_VERSION = 1;
constexpr UINT32 LEAF_TOPOLOGY = 0xB;
constexpr UINT32 LEAF_AMD_SIZES = 0x80000008;

constexpr UINT32 VERSION_EDX_MULTI_THREADING = 1U << 28;

/// Level type of cores, in bits 15 to 8 of the topology leaf's ECX.
constexpr UINT32 LEVEL_CORES = 2;

constexpr UINT32 ALL_BITS = 32;

} // namespace

UINT32
BitsBelowPackage (const CpuidSet &Set)
{
  const auto Row = [&] (UINT32 Leaf) {
    const auto Found = std::ranges::find (Set.Rows, Leaf, &CpuidRow::Leaf);
    return Found != Set.Rows.end () ? *Found : CpuidRow{};
  };
  const CpuidRow Version = Row (LEAF_VERSION);
  if ((Version.Edx & VERSION_EDX_MULTI_THREADING) == 0) {
    return ALL_BITS;
  }
  for (const CpuidRow &Level : Set.Rows) {
    if (Level.Leaf == LEAF_TOPOLOGY && (Level.Ecx >> 8 & 0xFF) == LEVEL_CORES) {
      return Level.Eax & 0x1F;
    }
  }
  const UINT32 AmdBits = Row (LEAF_AMD_SIZES).Ecx >> 12 & 0xF;
  return AmdBits != 0 ? AmdBits
                      : static_cast<UINT32> (std::bit_width ((Version.Ebx >> 16 & 0xFF) - 1));
}
