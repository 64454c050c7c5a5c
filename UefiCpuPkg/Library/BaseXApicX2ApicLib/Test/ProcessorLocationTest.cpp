#include "ProcessorTestBench.h"

namespace {

using ProcessorLocation = ProcessorTestBench;

/// Package, core and thread.
using Location = std::array<UINT32, 3>;

Location
Locate (UINT32 ApicId)
{
  Location At = {~0U, ~0U, ~0U};
  CallDriver (GetProcessorLocationByApicId, ApicId, &At[0], &At[1], &At[2]);
  return At;
}

/// A processor that differs from a known one in some CPUID answers, and what an id means on it.
struct LocationRow {
  const char *Name;
  std::vector<CpuidRow> Changes;
  UINT32 ApicId;
  Location Expected;
};

void
ExpectLocations (ProcessorTestBench &Bench, const char *Set, std::span<const LocationRow> Rows)
{
  for (const LocationRow &Row : Rows) {
    SCOPED_TRACE (Row.Name);
    auto &Processor = Bench.UseProcessor (Set, 0, ApicMode::XApic);
    for (const CpuidRow &New : Row.Changes) {
      Processor.CpuidAnswers[{New.Leaf, New.SubLeaf}] = {New.Eax, New.Ebx, New.Ecx, New.Edx};
    }
    EXPECT_EQ (Locate (Row.ApicId), Row.Expected);
  }
}

/// Changes that several rows share. The counts have noise around them.
constexpr CpuidRow NoLevels = {0xB, 0, 1, 0, 0x100, 0};
constexpr CpuidRow SixtyFourIds = {0xB, 1, 0xFFFFFFE6, 0, 0xFFFF02FF, 0};
constexpr CpuidRow TwoIds = {0xB, 0, 0xFFFFFFE1, 2, 0xFFFF01FF, 0};
constexpr CpuidRow EightCores = {4, 0, 0xFC01FFFF, 0, 0, 0};

constexpr CpuidRow
Intel (UINT32 MaxBasic)
{
  return {0, 0, MaxBasic, 0x756E6547, 0x6C65746E, 0x49656E69};
}

constexpr CpuidRow
Logical (UINT32 Count)
{
  return {1, 0, 0x000806F8, 0x4700FFFF | Count << 16, 0x7FFEFBFF, 0xBFEBFBFF};
}

TEST_F (ProcessorLocation, TellsWhereTheExecutingProcessorIsOnEveryKnownOne)
{
  const auto ExpectAt = [this] (const char *Set, ApicMode Mode, UINT32 ApicId, Location At) {
    UseProcessor (Set, ApicId, Mode);
    EXPECT_EQ (GetApicId (), ApicId) << Set;
    EXPECT_EQ (Locate (ApicId), At) << Set;
  };
  ExpectAt ("intel-sapphire-rapids", ApicMode::XApic, 0x6F, {0, 55, 1});
  ExpectAt ("intel-granite-rapids", ApicMode::X2Apic, 0x602, {3, 1, 0});
  ExpectAt ("amd-naples", ApicMode::XApic, 0x47, {1, 3, 1});
  ExpectAt ("amd-genoa-kvm-guest", ApicMode::X2Apic, 1, {0, 1, 0});
  ExpectAt ("intel-tulsa", ApicMode::XApic, 7, {1, 1, 1});
  ExpectAt ("intel-pentium3", ApicMode::XApic, 3, {0, 0, 0});
  ExpectAt ("intel-kvm-guest", ApicMode::XApic, 0x0D, {1, 2, 1});
  ExpectAt ("intel-tdx-guest", ApicMode::X2Apic, 6, {1, 1, 0});
}

TEST_F (ProcessorLocation, ReadsTheLevelsOfTheTopologyLeaf)
{
  const LocationRow Rows[] = {
      {"cores", {TwoIds, SixtyFourIds}, 0x47, {1, 3, 1}},
      {"end before cores", {{0xB, 1, 6, 0, 1, 0}, {0xB, 2, 6, 0, 0x202, 0}}, 0x47, {0x23, 0, 1}},
      {"other level", {{0xB, 1, 3, 8, 0x301, 0}, {0xB, 2, 6, 0, 0x202, 0}}, 0x47, {1, 3, 1}},
      {"count in the upper half", {{0xB, 0, 1, 0x10000, 0x100, 0}}, 0x87, {1, 3, 1}},
      {"lowest maximum leaf", {Intel (0xB)}, 0x87, {1, 3, 1}},
      {"cores below threads", {{0xB, 0, 9, 2, 0x100, 0}, SixtyFourIds}, 0x347, {0xD, 1, 0x147}},
      {"widest", {{0xB, 0, 31, 2, 0x100, 0}}, 0x89ABCDEF, {0x89ABCDEF >> 7, 1, 0x09ABCDEF}},
  };
  ExpectLocations (*this, "intel-sapphire-rapids", Rows);
}

TEST_F (ProcessorLocation, LeavesAListOfLevelsWithoutEndAfter256)
{
  auto &Processor = UseProcessor ("intel-sapphire-rapids", 0, ApicMode::X2Apic);
  for (UINT32 Number = 1; Number < 300; ++Number) {
    Processor.CpuidAnswers[{0xB, Number}] = {6, 64, 0x300, 0};
  }
  EXPECT_EQ (Locate (0x47), (Location{0x23, 0, 1}));
  EXPECT_EQ (Processor.CpuidReads[0xB], 256U);
  Processor.CpuidAnswers[{0xB, 255}].Ecx = 0x2FF;
  EXPECT_EQ (Locate (0x47), (Location{1, 3, 1}));
}

TEST_F (ProcessorLocation, AssertsThatTheFirstLevelIsThreadsAndGoesOn)
{
  UseProcessor ("intel-sapphire-rapids", 0, ApicMode::X2Apic).CpuidAnswers[{0xB, 0}].Ecx = 0x200;
  EXPECT_EQ (Locate (0x87), (Location{1, 3, 1}));
  InstallDebugService ();
  EXPECT_EQ (StoppedAt ([] { Locate (0x87); }),
             "UefiCpuPkg/Library/BaseXApicX2ApicLib/BaseXApicX2ApicLib:1292 LevelType == 0x01");
}

TEST_F (ProcessorLocation, DividesAPackageWithoutLevelsByTheFirstCache)
{
  const LocationRow Rows[] = {
      {"eight cores", {NoLevels, Logical (16), EightCores}, 0x47, {4, 3, 1}},
      {"no power of two", {NoLevels, Logical (23), {4, 0, 5 << 14, 0, 0, 0}}, 0x47, {2, 1, 3}},
      {"cache leaf is last", {Intel (4), Logical (16), EightCores}, 0x47, {4, 3, 1}},
      {"no cache leaf", {Intel (3), Logical (128), EightCores}, 0xC7, {1, 0, 0x47}},
      {"no cache", {NoLevels, Logical (16), {4, 0, 0, 0, 0, 0}}, 0x47, {4, 0, 7}},
      {"nothing to divide", {NoLevels, Logical (0), {4, 0, 0, 0, 0, 0}}, 0x47, {0x47, 0, 0}},
      {"less than one each", {NoLevels, Logical (7), EightCores}, 0x47, {8, 7, 0}},
  };
  ExpectLocations (*this, "intel-sapphire-rapids", Rows);
}

TEST_F (ProcessorLocation, DividesAnAmdPackageByItsTopologyExtensions)
{
  const LocationRow Rows[] = {
      {"no extensions", {{0x80000001, 0, 0, 0, 0xFFBFFFFF, 0}}, 0x47, {1, 0, 7}},
      {"leaf is last", {{0x80000000, 0, 0x8000001E, 0, 0, 0}}, 0x47, {1, 3, 1}},
      {"leaf beyond the last", {{0x80000000, 0, 0x8000001D, 0, 0, 0}}, 0x47, {1, 0, 7}},
      {"most threads",
       {{0x80000008, 0, 0, 0, 0xFFFFFFFF, 0}, {0x8000001E, 0, 0, 0xFFFFFFFF, 0, 0}},
       0x18347,
       {3, 3, 0x47}},
      {"three threads a core", {{0x8000001E, 0, 0, 0x200, 0, 0}}, 0x47, {0, 17, 3}},
      {"room for half a core", {{0x8000001E, 0, 0, 0x7F00, 0, 0}}, 0x67, {1, 0, 0x27}},
      {"other vendor", {{0, 0, 0xD, 0x68747540, 0x444D4163, 0x69746E65}}, 0x47, {1, 0, 7}},
  };
  ExpectLocations (*this, "amd-naples", Rows);
}

TEST_F (ProcessorLocation, ReadsOneLeafOnlyWithoutMultiThreading)
{
  auto &Processor = UseProcessor ("intel-sapphire-rapids", 0, ApicMode::X2Apic);
  Processor.CpuidAnswers[{1, 0}].Edx &= ~(1U << 28);
  EXPECT_EQ (Locate (0xFFFFFFFF), (Location{0, 0, 0}));
  EXPECT_EQ (Processor.CpuidReads, (std::map<UINT32, UINTN>{{1, 1}}));
}

TEST_F (ProcessorLocation, SkipsNullAndStoresThePackageLast)
{
  for (const char *Set : {"intel-pentium3", "amd-naples"}) {
    UseProcessor (Set, 0, ApicMode::XApic);
    const auto [Package, Core, Thread] = Locate (0x47);
    UINT32 Value = ~0U;
    GetProcessorLocationByApicId (0x47, nullptr, nullptr, &Value);
    EXPECT_EQ (Value, Thread);
    GetProcessorLocationByApicId (0x47, nullptr, &Value, nullptr);
    EXPECT_EQ (Value, Core);
    GetProcessorLocationByApicId (0x47, &Value, &Value, &Value);
    EXPECT_EQ (Value, Package);
  }
}

} // namespace
