#include "BaseLib.h"
#include "SmmDebugServiceLib.h"

namespace {

constexpr CHAR8 SourceFile[] = "MdePkg/Library/BaseLib/String";
constexpr AssertionSite StringNotNull = {SourceFile, 639, "String != ((void *) 0)"};
constexpr AssertionSite WithinLimit = {SourceFile, 647,
                                       "Length < _gPcd_FixedAtBuild_PcdMaximumAsciiStringLength"};

} // namespace

UINTN EFIAPI
AsciiStrLen (const CHAR8 *String)
{
  ASSERT (String != nullptr, StringNotNull);
  UINTN Length = 0;
  while (String[Length] != '\0') {
    if constexpr (PcdMaximumAsciiStringLength != 0) {
      ASSERT (Length < PcdMaximumAsciiStringLength, WithinLimit);
    }
    ++Length;
  }
  return Length;
}

UINTN EFIAPI
AsciiStrSize (const CHAR8 *String)
{
  return AsciiStrLen (String) + 1;
}
