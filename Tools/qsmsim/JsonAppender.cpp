#include "JsonAppender.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include <fmt/format.h>

#include "Utf8.h"

namespace {

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
    const auto Character = FirstCharacter (Value);
    if (!Character) {
      Text += "\xEF\xBF\xBD";
    } else if (First == '"' || First == '\\') {
      Text += '\\';
      Text += First;
    } else if (Character->Code < 0x20) {
      fmt::format_to (std::back_inserter (Text), "\\u{:04X}", First);
    } else {
      Text += Value.substr (0, Character->Size);
    }
    Value.remove_prefix (Character ? Character->Size : 1);
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
