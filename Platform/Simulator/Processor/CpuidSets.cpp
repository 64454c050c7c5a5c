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
    // AMD EPYC 9004 in a KVM guest, 2 cores (recorded).
    {"amd-genoa-kvm-guest", AmdGenoaKvmGuest},
    // AMD EPYC 7001, 32 cores of 2 threads, no leaf 0xB.
    {"amd-naples", AmdNaples},
    // Intel Xeon 6, 128 cores of 2 threads, ids above 255.
    {"intel-granite-rapids", IntelGraniteRapids},
    // Intel Xeon 6 in a KVM guest, 4 cores of 2 threads.
    {"intel-kvm-guest", IntelKvmGuest},
    // Intel Pentium, family 5, 1 core.
    {"intel-pentium", IntelPentium},
    // Intel Pentium III Xeon, 1 core.
    {"intel-pentium3", IntelPentium3},
    // Intel Xeon Scalable 4, 56 cores of 2 threads.
    {"intel-sapphire-rapids", IntelSapphireRapids},
    // Intel Xeon Scalable 5 in a TDX guest, 2 cores of 2 threads.
    {"intel-tdx-guest", IntelTdxGuest},
    // Intel Xeon 7100, 2 cores of 2 threads, leaf 4 only.
    {"intel-tulsa", IntelTulsa},
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
