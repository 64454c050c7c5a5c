#include "BaseLib.h"
#include "SmmDebugServiceLib.h"
#include "Unaligned.h"

namespace {

constexpr AssertionSite StringAligned = {"MdePkg/Library/BaseLib/SafeString", 126,
                                         "((UINTN)String & 0x00000001) == 0"};

/// Counts one more character, unless it is the NUL. Tells whether it did.
template <typename Character>
[[gnu::always_inline]] inline bool
CountOne (const Character *String, UINTN &Length)
{
  if (String[Length].Value == 0) {
    return false;
  }
  ++Length;
  return true;
}

/// Counts characters ahead of the NUL, at most MaxSize. A null string has none.
template <typename Character>
UINTN
CountCharacters (const Character *String, UINTN MaxSize)
{
  if (String == nullptr) {
    return 0;
  }
  UINTN Length = 0;
  // Four characters a round, so that the limit is looked at once for all of them.
  while (MaxSize - Length >= 4 && CountOne (String, Length) && CountOne (String, Length) &&
         CountOne (String, Length) && CountOne (String, Length)) {
  }
  while (MaxSize > Length && CountOne (String, Length)) {
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
