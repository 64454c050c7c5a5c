#include "PrintModel.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

bool
IsOneOf (char16_t Character, std::u16string_view Set)
{
  return Set.find (Character) != Set.npos;
}

struct Model {
  const char16_t *Next;
  const UINT64 *Arguments;
  size_t Limit;
  std::u16string Output = {};
  UINT64 Length = 0;
  // Of one directive, or of one character outside any.
  std::u16string Flags = {}; ///< As they stand there; "w" once there is a width.
  UINT64 Width = 0;
  UINT64 Precision = 1;

  void
  PrintNext ()
  {
    Flags.clear ();
    Width = 0;
    Precision = 1;
    char16_t Type = *Next++;
    if (Type != '%') {
      return Literal (Type);
    }
    while (IsOneOf (Type = *Next++, u"0123456789*.-+ ,lL")) {
      if (!IsOneOf (Type, u"0123456789*")) {
        Flags += Type;
        continue;
      }
      const bool IsPrecision = IsOneOf ('.', Flags);
      Flags += IsPrecision ? u"" : Type == '0' ? u"0w" : u"w";
      UINT64 &Number = IsPrecision ? Precision : Width;
      Number = Type == '*' ? *Arguments++ : Type - u'0';
      while (Type != '*' && *Next >= '0' && *Next <= '9') {
        Number = 10 * Number + (*Next++ - u'0');
      }
    }
    if (Type == 0) {
      --Next;
      Precision = 0;
      Text (u"");
    } else if (IsOneOf (Type, u"duxXp")) {
      Number (Type, *Arguments++);
    } else if (IsOneOf (Type, u"asS")) {
      String (reinterpret_cast<const UINT8 *> (*Arguments++), Type == 'a' ? 1 : 2);
    } else if (Type == 'c') {
      Text ({static_cast<char16_t> (*Arguments++)});
    } else {
      Literal (Type);
    }
  }

  void
  Literal (char16_t Character)
  {
    const bool IsPair =
        (Character == '\n' && *Next == '\r') || (Character == '\r' && *Next == '\n');
    Next += IsPair ? 1 : 0;
    Text (IsPair || Character == '\n' ? u"\r\n" : std::u16string (1, Character));
  }

  void
  String (const UINT8 *Bytes, UINT64 CharacterSize)
  {
    Precision = IsOneOf ('.', Flags) ? Precision : 0;
    if (Bytes == nullptr) {
      return Text (u"<null string>");
    }
    std::u16string Result;
    while (char16_t Character =
               static_cast<char16_t> (Bytes[0] + (CharacterSize == 2 ? 256 * Bytes[1] : 0))) {
      Result += Character;
      Bytes += CharacterSize;
    }
    Text (Result);
  }

  void
  Number (char16_t Type, UINT64 Value)
  {
    const bool IsDecimal = Type == 'd' || Type == 'u';
    const bool HasCommas = IsOneOf (',', Flags) && IsDecimal;
    char16_t Sign = IsOneOf ('+', Flags) && Type != 'u' ? '+' : IsOneOf (' ', Flags) ? ' ' : 0;
    if (Type == 'p') {
      Sign = 0;
      Flags += u"l0";
    }
    if (!IsOneOf ('l', Flags) && !IsOneOf ('L', Flags)) {
      Value = Type == 'd' ? static_cast<UINT64> (static_cast<INT32> (Value)) : Value & 0xFFFFFFFF;
    }
    if (Type == 'd' && Value >> 63 != 0) {
      Sign = '-';
      Value = 0 - Value;
    }
    Precision = HasCommas ? 1 : Precision;
    char Digits[21];
    std::snprintf (Digits, sizeof Digits, IsDecimal ? "%llu" : "%llX", Value);
    std::u16string Shown (Digits,
                          Digits + (Value == 0 && Precision == 0 ? 0 : std::strlen (Digits)));
    for (size_t Place = Shown.size (); HasCommas && Place > 3;) {
      Shown.insert (Place -= 3, 1, u',');
    }
    Precision += Sign != 0 ? 1 : 0;
    if ((IsOneOf ('0', Flags) || Type == 'X') && IsOneOf ('w', Flags) && !IsOneOf ('.', Flags) &&
        !IsOneOf ('-', Flags) && !HasCommas) {
      Precision = Width;
    }
    LayOut (Sign, u'0', Shown);
  }

  void
  Text (std::u16string Shown)
  {
    Shown = Shown.substr (0, Shown.find (u'\0'));
    LayOut (0, u' ', IsOneOf ('.', Flags) ? Shown.substr (0, Precision) : Shown);
  }

  void
  LayOut (char16_t Sign, char16_t Filler, const std::u16string &Shown)
  {
    const UINT64 Count = (Sign != 0 ? 1 : 0) + Shown.size ();
    Precision = std::max (Precision, Count);
    const UINT64 Blanks = IsOneOf ('w', Flags) ? Width - Precision : 0;
    const bool IsLeft = IsOneOf ('-', Flags);
    Put (u" ", IsLeft ? 0 : Blanks);
    Put (std::u16string (1, Sign), Sign != 0 ? 1 : 0);
    Put (std::u16string (1, Filler), Precision - Count);
    Put (Shown, 1);
    Put (u" ", IsLeft ? Blanks : 0);
  }

  void
  Put (const std::u16string &Shown, UINT64 Times)
  {
    Times = static_cast<INT64> (Times) > 0 ? Times : 0;
    Length += Times * Shown.size ();
    while (Times-- != 0 && Output.size () < Limit) {
      Output.append (Shown, 0, Limit - Output.size ());
    }
  }
};

} // namespace

ModelText
PrintByModel (const char16_t *Format, const UINT64 *Slots, size_t Limit)
{
  Model Printer = {Format, Slots, Limit};
  while (*Printer.Next != 0) {
    Printer.PrintNext ();
  }
  return {Printer.Output, Printer.Length};
}
