#include "JsonAppender.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include <fmt/format.h>

namespace {

/// Number of bytes of the UTF-8 character at the start of Text, or 0 if none is there (Unicode
/// 15.0, table 3-7).
std::size_t
CharacterSize (std::string_view Text)
{
  const auto At = [&] (std::size_t Index) {
    return Index < Text.size () ? static_cast<UINT8> (Text[Index]) : UINT8{0};
  };
  const UINT8 First = At (0);
  const std::size_t Size = First < 0x80                    ? 1
                           : First >= 0xC2 && First < 0xE0 ? 2
                           : First >= 0xE0 && First < 0xF0 ? 3
                           : First >= 0xF0 && First < 0xF5 ? 4
                                                           : 0;
  const UINT8 Low = First == 0xE0 ? 0xA0 : First == 0xF0 ? 0x90 : 0x80;
  const UINT8 High = First == 0xED ? 0x9F : First == 0xF4 ? 0x8F : 0xBF;
  if (Size > 1 && (At (1) < Low || At (1) > High)) {
    return 0;
  }
  for (std::size_t Index = 2; Index < Size; ++Index) {
    if ((At (Index) & 0xC0) != 0x80) {
      return 0;
    }
  }
  return Size;
}

constexpr bool
IsPlain (char Character)
{
  return Character >= ' ' && Character <= '~' && Character != '"' && Character != '\\';
}

} // namespace

void
JsonAppender::Separate ()
{
  if (!Text.empty () && Text.back () != '{' && Text.back () != '[' && Text.back () != ':' &&
      Text.back () != '\n') {
    Text += ',';
  }
}

JsonAppender &
JsonAppender::Open (char Bracket)
{
  Separate ();
  Text += Bracket;
  return *this;
}

JsonAppender &
JsonAppender::Close (char Bracket)
{
  Text += Bracket;
  return *this;
}

JsonAppender &
JsonAppender::Key (std::string_view Name)
{
  Separate ();
  Text += '"';
  Text += Name;
  Text += "\":";
  return *this;
}

JsonAppender &
JsonAppender::String (std::string_view Value)
{
  Separate ();
  Text += '"';
  while (!Value.empty ()) {
    const auto Plain =
        static_cast<std::size_t> (std::ranges::find_if_not (Value, IsPlain) - Value.begin ());
    Text += Value.substr (0, Plain);
    Value.remove_prefix (Plain);
    if (Value.empty ()) {
      break;
    }
    const char First = Value.front ();
    const std::size_t Size = CharacterSize (Value);
    if (Size == 0) {
      Text += "\xEF\xBF\xBD";
    } else if (First == '"' || First == '\\') {
      Text += '\\';
      Text += First;
    } else if (Size == 1 && static_cast<UINT8> (First) < 0x20) {
      fmt::format_to (std::back_inserter (Text), "\\u{:04X}", First);
    } else {
      Text += Value.substr (0, Size);
    }
    Value.remove_prefix (Size == 0 ? 1 : Size);
  }
  Text += '"';
  return *this;
}

JsonAppender &
JsonAppender::Number (UINT64 Value)
{
  Separate ();
  char Digits[20];
  const auto End = std::to_chars (std::begin (Digits), std::end (Digits), Value).ptr;
  Text.append (Digits, End);
  return *this;
}

JsonAppender &
JsonAppender::Boolean (bool Value)
{
  Separate ();
  Text += Value ? "true" : "false";
  return *this;
}

JsonAppender &
JsonAppender::Null ()
{
  Separate ();
  Text += "null";
  return *this;
}
