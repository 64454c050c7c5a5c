#include "CpuidSets.h"

#include <algorithm>

namespace {

constexpr CpuidRow AmdGenoaKvmGuest[] = {
#include "AmdGenoaKvmGuest.inc"
};
constexpr CpuidRow AmdNaples[] = {
#include "AmdNaples.inc"
};
constexpr CpuidRow IntelGraniteRapids[] = {
#include "IntelGraniteRapids.inc"
};
constexpr CpuidRow IntelKvmGuest[] = {
#include "IntelKvmGuest.inc"
};
constexpr CpuidRow IntelPentium[] = {
#include "IntelPentium.inc"
};
constexpr CpuidRow IntelPentium3[] = {
#include "IntelPentium3.inc"
};
constexpr CpuidRow IntelSapphireRapids[] = {
#include "IntelSapphireRapids.inc"
};
constexpr CpuidRow IntelTdxGuest[] = {
#include "IntelTdxGuest.inc"
};
constexpr CpuidRow IntelTulsa[] = {
#include "IntelTulsa.inc"
};

constexpr CpuidSet Sets[] = {
    {"amd-genoa-kvm-guest", "AMD EPYC 9004 in a KVM guest, 2 cores (recorded)", AmdGenoaKvmGuest},
    {"amd-naples", "AMD EPYC 7001, 32 cores of 2 threads, no leaf 0xB", AmdNaples},
    {"intel-granite-rapids", "Intel Xeon 6, 128 cores of 2 threads, ids above 255",
     IntelGraniteRapids},
    {"intel-kvm-guest", "Intel Xeon 6 in a KVM guest, 4 cores of 2 threads", IntelKvmGuest},
    {"intel-pentium", "Intel Pentium, family 5, 1 core", IntelPentium},
    {"intel-pentium3", "Intel Pentium III Xeon, 1 core", IntelPentium3},
    {"intel-sapphire-rapids", "Intel Xeon Scalable 4, 56 cores of 2 threads", IntelSapphireRapids},
    {"intel-tdx-guest", "Intel Xeon Scalable 5 in a TDX guest, 2 cores of 2 threads",
     IntelTdxGuest},
    {"intel-tulsa", "Intel Xeon 7100, 2 cores of 2 threads, leaf 4 only", IntelTulsa},
};

} // namespace

std::span<const CpuidSet>
AllCpuidSets ()
{
  return Sets;
}

const CpuidSet *
FindCpuidSet (std::string_view Name)
{
  const auto *Found = std::ranges::find (Sets, Name, &CpuidSet::Name);
  return Found != std::end (Sets) ? Found : nullptr;
}
