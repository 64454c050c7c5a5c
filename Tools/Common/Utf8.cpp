#include "Utf8.h"

#include <algorithm>
#include <bit>

#include "Base.h"

std::optional<Utf8Character>
FirstCharacter (std::string_view Text)
{
  /// The least code of each size, the shorter ones being for those below.
  constexpr char32_t Least[] = {0, 0, 0x80, 0x800, 0x10000, 0x110000};
  const auto First = static_cast<UINT8> (Text.front ());
  const auto Size = static_cast<std::size_t> (std::max (std::countl_one (First), 1));
  if (First < 0x80) {
    return Utf8Character{First, 1};
  }
  if (Size == 1 || Size > 4 || Size > Text.size ()) {
    return std::nullopt;
  }
  char32_t Code = First & (0x7FU >> Size);
  for (const char Next : Text.substr (1, Size - 1)) {
    if ((Next & 0xC0) != 0x80) {
      return std::nullopt;
    }
    Code = Code << 6 | (Next & 0x3F);
  }
  const bool IsSurrogate = Code >= 0xD800 && Code < 0xE000;
  return Code >= Least[Size] && Code < Least[5] && !IsSurrogate
             ? std::optional (Utf8Character{Code, Size})
             : std::nullopt;
}
