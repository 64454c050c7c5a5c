#include "BaseLib.h"
#include "SmmDebugServiceLib.h"
#include "Unaligned.h"

namespace {

constexpr AssertionSite StringAligned = {"MdePkg/Library/BaseLib/SafeString", 126,
                                         "((UINTN)String & 0x00000001) == 0"};

/// Counts characters ahead of the NUL, at most MaxSize. A null string has none.
template <typename Character>
UINTN
CountCharacters (const Character *String, UINTN MaxSize)
{
  if (String == nullptr) {
    return 0;
  }
  UINTN Length = 0;
  while (Length < MaxSize && String[Length].Value != 0) {
    ++Length;
  }
  return Length;
}

} // namespace

UINTN EFIAPI
StrnLenS (const CHAR16 *String, UINTN MaxSize)
{
  ASSERT (reinterpret_cast<UINTN> (String) % sizeof (CHAR16) == 0, StringAligned);
  return CountCharacters (reinterpret_cast<const Unaligned<CHAR16> *> (String), MaxSize);
}

UINTN EFIAPI
AsciiStrnLenS (const CHAR8 *String, UINTN MaxSize)
{
  return CountCharacters (reinterpret_cast<const Unaligned<CHAR8> *> (String), MaxSize);
}
