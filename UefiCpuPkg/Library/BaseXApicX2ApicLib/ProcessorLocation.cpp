/// From APIC id to package, core and thread.

#include "BaseXApicX2ApicLib.h"

#include "BaseXApicX2ApicLibInternal.h"
#include "SmmDebugServiceLib.h"

namespace {

constexpr AssertionSite FirstLevelIsThreads = {ReportedModule, 1292, "LevelType == 0x01"};

constexpr CpuidText AmdVendor = MakeCpuidText ("AuthenticAMD");

/// Widths of the two lower fields of an APIC id; the package number is all that lies above them.
struct ApicIdFields {
  UINT32 ThreadBits;
  UINT32 CoreBits;
};

/// Level types of CPUID leaf 0xB. Others are reserved there and skipped.
constexpr UINT32 LevelTypeEnd = 0;
constexpr UINT32 LevelTypeThreads = 1;
constexpr UINT32 LevelTypeCores = 2;

/// The leaf numbers its levels in 8 bits (ECX bits 7:0), so no list of levels is longer.
constexpr UINT32 LevelCountMax = 0x100;

UINT32
LevelType (const CpuidAnswer &Level)
{
  return RegisterBits (Level.Ecx, 15, 8);
}

/// How far an APIC id is shifted right to drop this level and those below.
UINT32
LevelShift (const CpuidAnswer &Level)
{
  return RegisterBits (Level.Eax, 4, 0);
}

/// Finds the fields from the levels of CPUID leaf 0xB, of which the first is given.
ApicIdFields
FieldsFromLevels (const CpuidAnswer &FirstLevel)
{
  ASSERT (LevelType (FirstLevel) == LevelTypeThreads, FirstLevelIsThreads);

  const UINT32 ThreadBits = LevelShift (FirstLevel);
  for (UINT32 Number = 1; Number < LevelCountMax; ++Number) {
    const CpuidAnswer Level = ReadCpuid (CPUID_EXTENDED_TOPOLOGY, Number);
    if (LevelType (Level) == LevelTypeCores) {
      // A core level below that of the threads wraps. The shift by both widths is still this
      // level's own, for shifts take their count modulo 32.
      return {.ThreadBits = ThreadBits, .CoreBits = LevelShift (Level) - ThreadBits};
    }
    if (LevelType (Level) == LevelTypeEnd) {
      break;
    }
  }
  return {.ThreadBits = ThreadBits, .CoreBits = 0};
}

/// Number of bits that hold Value.
UINT32
BitLength (UINT32 Value)
{
  return Value == 0 ? 0 : 32 - static_cast<UINT32> (__builtin_clz (Value));
}

/// What a package has room for, in the numbering of APIC ids.
struct PackageSize {
  UINT32 LogicalProcessors;
  UINT32 Cores;
};

/// AMD's size, where the topology extensions give it; else Size as it came.
PackageSize
AmdPackageSize (PackageSize Size, UINT32 MaxExtended)
{
  if (MaxExtended < CPUID_AMD_PROCESSOR_TOPOLOGY) {
    return Size;
  }
  const UINT32 TopologyExtensions = RegisterBit (ReadCpuid (CPUID_EXTENDED_CPU_SIGNATURE).Ecx, 22);
  if (TopologyExtensions == 0) {
    return Size;
  }
  const UINT32 CoreIdBits = RegisterBits (ReadCpuid (CPUID_ADDRESS_AND_CORE_SIZES).Ecx, 15, 12);
  const UINT32 ThreadsPerCore =
      RegisterBits (ReadCpuid (CPUID_AMD_PROCESSOR_TOPOLOGY).Ebx, 15, 8) + 1;
  Size.LogicalProcessors = 1U << CoreIdBits;
  Size.Cores = Size.LogicalProcessors / ThreadsPerCore;
  if (Size.Cores == 0) {
    // One core keeps the package number what CoreIdBits alone makes it.
    Size.Cores = 1;
  }
  return Size;
}

/// The number of cores from the cache parameters of CPUID leaf 4; a leaf of zeros gives one.
PackageSize
IntelPackageSize (PackageSize Size, UINT32 MaxBasic)
{
  if (MaxBasic >= CPUID_CACHE_PARAMETERS) {
    Size.Cores = RegisterBits (ReadCpuid (CPUID_CACHE_PARAMETERS, 0).Eax, 25, 14) + 1;
  }
  return Size;
}

/// Finds the fields on a processor that does not list its levels.
ApicIdFields
FieldsFromPackageSize (const CpuidAnswer &VersionInfo, UINT32 MaxBasic, UINT32 MaxExtended)
{
  PackageSize Size = {.LogicalProcessors = RegisterBits (VersionInfo.Ebx, 23, 16), .Cores = 1};
  Size = StandardSignatureIsAuthenticAMD () ? AmdPackageSize (Size, MaxExtended)
                                            : IntelPackageSize (Size, MaxBasic);
  return {.ThreadBits = BitLength (Size.LogicalProcessors / Size.Cores - 1),
          .CoreBits = BitLength (Size.Cores - 1)};
}

ApicIdFields
FindFields (const CpuidAnswer &VersionInfo)
{
  const UINT32 MaxBasic = ReadCpuid (CPUID_SIGNATURE).Eax;
  const UINT32 MaxExtended = ReadCpuid (CPUID_EXTENDED_FUNCTION).Eax;
  if (MaxBasic >= CPUID_EXTENDED_TOPOLOGY) {
    const CpuidAnswer FirstLevel = ReadCpuid (CPUID_EXTENDED_TOPOLOGY, 0);
    if (FirstLevel.Ebx != 0) {
      return FieldsFromLevels (FirstLevel);
    }
  }
  return FieldsFromPackageSize (VersionInfo, MaxBasic, MaxExtended);
}

/// The two shifts of the processor: the count is taken modulo 32.
UINT32
ShiftRight (UINT32 Value, UINT32 Count)
{
  return Value >> (Count % 32);
}

UINT32
LowBits (UINT32 Value, UINT32 Count)
{
  return Value & ((1U << (Count % 32)) - 1);
}

VOID
StoreUnlessNull (UINT32 *To, UINT32 Value)
{
  if (To != nullptr) {
    *To = Value;
  }
}

} // namespace

BOOLEAN EFIAPI
StandardSignatureIsAuthenticAMD ()
{
  return CarriesText (ReadCpuid (CPUID_SIGNATURE), AmdVendor);
}

VOID EFIAPI
GetProcessorLocationByApicId (UINT32 InitialApicId, UINT32 *Package, UINT32 *Core, UINT32 *Thread)
{
  const CpuidAnswer VersionInfo = ReadCpuid (CPUID_VERSION_INFO);
  const UINT32 MultiThreading = RegisterBit (VersionInfo.Edx, 28);
  if (MultiThreading == 0) {
    StoreUnlessNull (Thread, 0);
    StoreUnlessNull (Core, 0);
    StoreUnlessNull (Package, 0);
    return;
  }

  const ApicIdFields Fields = FindFields (VersionInfo);
  StoreUnlessNull (Thread, LowBits (InitialApicId, Fields.ThreadBits));
  StoreUnlessNull (Core, LowBits (ShiftRight (InitialApicId, Fields.ThreadBits), Fields.CoreBits));
  StoreUnlessNull (Package, ShiftRight (InitialApicId, Fields.ThreadBits + Fields.CoreBits));
}
