/// CPUID answers in a form that is easy to take apart.
#pragma once

#include "Base.h"
#include "Machine.h"

/// Module name that the assertions report.
inline constexpr CHAR8 ReportedModule[] =
    "UefiCpuPkg/Library/BaseXApicX2ApicLib/BaseXApicX2ApicLib";

/// CPUID leaves (Intel SDM, volume 2, CPUID; AMD64 APM, volume 3, appendix E).
inline constexpr UINT32 CPUID_SIGNATURE = 0;
inline constexpr UINT32 CPUID_VERSION_INFO = 1;
inline constexpr UINT32 CPUID_CACHE_PARAMETERS = 4;
inline constexpr UINT32 CPUID_EXTENDED_TOPOLOGY = 0xB;
inline constexpr UINT32 CPUID_GUEST_TD = 0x21;
inline constexpr UINT32 CPUID_EXTENDED_FUNCTION = 0x80000000;
inline constexpr UINT32 CPUID_EXTENDED_CPU_SIGNATURE = 0x80000001;
inline constexpr UINT32 CPUID_ADDRESS_AND_CORE_SIZES = 0x80000008;
inline constexpr UINT32 CPUID_AMD_PROCESSOR_TOPOLOGY = 0x8000001E;

struct CpuidAnswer {
  UINT32 Eax = 0;
  UINT32 Ebx = 0;
  UINT32 Ecx = 0;
  UINT32 Edx = 0;
};

/// A leaf without sub-leaves.
inline CpuidAnswer
ReadCpuid (UINT32 Leaf)
{
  CpuidAnswer Answer;
  (void)AsmCpuid (Leaf, &Answer.Eax, &Answer.Ebx, &Answer.Ecx, &Answer.Edx);
  return Answer;
}

inline CpuidAnswer
ReadCpuid (UINT32 Leaf, UINT32 SubLeaf)
{
  CpuidAnswer Answer;
  (void)AsmCpuidEx (Leaf, SubLeaf, &Answer.Eax, &Answer.Ebx, &Answer.Ecx, &Answer.Edx);
  return Answer;
}

/// Bits High to Low of a register, shifted down.
constexpr UINT32
RegisterBits (UINT32 Register, UINT32 High, UINT32 Low)
{
  return (Register >> Low) & ((2U << (High - Low)) - 1);
}

constexpr UINT32
RegisterBit (UINT32 Register, UINT32 Number)
{
  return RegisterBits (Register, Number, Number);
}

/// Twelve characters as CPUID returns a vendor or a guest signature: four each in EBX, EDX and ECX.
struct CpuidText {
  UINT32 Ebx;
  UINT32 Edx;
  UINT32 Ecx;
};

/// Four characters in the order of memory.
consteval UINT32
PackCharacters (const CHAR8 *Text)
{
  UINT32 Packed = 0;
  for (UINT32 Index = 0; Index < 4; ++Index) {
    Packed |= static_cast<UINT32> (static_cast<UINT8> (Text[Index])) << (8 * Index);
  }
  return Packed;
}

consteval CpuidText
MakeCpuidText (const CHAR8 (&Text)[13])
{
  return {.Ebx = PackCharacters (Text),
          .Edx = PackCharacters (Text + 4),
          .Ecx = PackCharacters (Text + 8)};
}

constexpr bool
CarriesText (const CpuidAnswer &Answer, const CpuidText &Text)
{
  return Answer.Ebx == Text.Ebx && Answer.Edx == Text.Edx && Answer.Ecx == Text.Ecx;
}
