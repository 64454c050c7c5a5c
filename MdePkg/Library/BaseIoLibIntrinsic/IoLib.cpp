#include "BaseIoLibIntrinsic.h"
#include "Machine.h"
#include "SmmDebugServiceLib.h"

namespace {

constexpr CHAR8 SourceFile[] = "MdePkg/Library/BaseIoLibIntrinsic/IoLib";
constexpr CHAR8 Aligned16Text[] = "(Address & 1) == 0";
constexpr CHAR8 Aligned32Text[] = "(Address & 3) == 0";
constexpr AssertionSite Read16Aligned = {SourceFile, 177, Aligned16Text};
constexpr AssertionSite Write16Aligned = {SourceFile, 223, Aligned16Text};
constexpr AssertionSite Read32Aligned = {SourceFile, 269, Aligned32Text};
constexpr AssertionSite Write32Aligned = {SourceFile, 316, Aligned32Text};

} // namespace

UINT16 EFIAPI
MmioRead16 (UINTN Address)
{
  ASSERT ((Address & 1) == 0, Read16Aligned);
  return MmioLoad16 (Address);
}

UINT16 EFIAPI
MmioWrite16 (UINTN Address, UINT16 Value)
{
  ASSERT ((Address & 1) == 0, Write16Aligned);
  MmioStore16 (Address, Value);
  return Value;
}

UINT32 EFIAPI
MmioRead32 (UINTN Address)
{
  ASSERT ((Address & 3) == 0, Read32Aligned);
  return MmioLoad32 (Address);
}

UINT32 EFIAPI
MmioWrite32 (UINTN Address, UINT32 Value)
{
  ASSERT ((Address & 3) == 0, Write32Aligned);
  MmioStore32 (Address, Value);
  return Value;
}
