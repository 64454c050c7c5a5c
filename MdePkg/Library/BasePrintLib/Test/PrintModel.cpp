#include "PrintModel.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "Uefi/Time.h"

namespace {

/// The words for success and the warnings, by the status, and behind them those for the errors.
constexpr UINT64 WarningCount = 6;
constexpr UINT64 ErrorCount = 33;
constexpr const char16_t *StatusWords[WarningCount + ErrorCount] = {
    u"Success", u"Warning Unknown Glyph", u"Warning Delete Failure", u"Warning Write Failure",
    u"Warning Buffer Too Small", u"Warning Stale Data",
    // errors
    u"Load Error", u"Invalid Parameter", u"Unsupported", u"Bad Buffer Size", u"Buffer Too Small",
    u"Not Ready", u"Device Error", u"Write Protected", u"Out of Resources", u"Volume Corrupt",
    u"Volume Full", u"No Media", u"Media changed", u"Not Found", u"Access Denied", u"No Response",
    u"No mapping", u"Time out", u"Not started", u"Already started", u"Aborted", u"ICMP Error",
    u"TFTP Error", u"Protocol Error", u"Incompatible Version", u"Security Violation", u"CRC Error",
    u"End of Media", u"Reserved (29)", u"Reserved (30)", u"End of File", u"Invalid Language",
    u"Compromised Data"};

/// What the C library makes of a format.
template <typename... Types>
std::u16string
Composed (const char *Format, Types... Arguments)
{
  char Text[40];
  const int Length = std::snprintf (Text, sizeof Text, Format, Arguments...);
  return {Text, Text + Length};
}

class Model {
public:
  Model (std::u16string_view Format, const UINT64 *Slots, size_t Most)
      : Input (Format), Arguments (Slots), Limit (Most)
  {
  }

  ModelText
  Run ()
  {
    while (Peek () != 0) {
      Flags.clear ();
      Width = 0;
      Precision = 1;
      const char16_t Character = Input[At++];
      if (Character == '%') {
        PutArgument (TakeDirective ());
      } else {
        PutLiteral (Character);
      }
    }
    return {Output, Length};
  }

private:
  char16_t
  Peek () const
  {
    return At < Input.size () ? Input[At] : u'\0';
  }

  bool
  Has (char16_t Flag) const
  {
    return Flags.find (Flag) != Flags.npos;
  }

  void
  SetNumber (UINT64 Number)
  {
    if (Has ('.')) {
      Precision = Number;
    } else {
      Width = Number;
      Flags += u'w';
    }
  }

  /// Takes a directive up to its type, which it returns.
  char16_t
  TakeDirective ()
  {
    for (;;) {
      const char16_t Character = Peek ();
      if (Character == 0) {
        Precision = 0;
        return 0;
      }
      if (Character >= '0' && Character <= '9') {
        Flags += Character == '0' && !Has ('.') ? u"0" : u"";
        UINT64 Number = 0;
        for (; Peek () >= '0' && Peek () <= '9'; ++At) {
          Number = 10 * Number + (Peek () - u'0');
        }
        SetNumber (Number);
        continue;
      }
      ++At;
      if (Character == '*') {
        SetNumber (*Arguments++);
      } else if (std::u16string_view (u".-+ ,lL").find (Character) != std::u16string_view::npos) {
        Flags += Character;
      } else {
        return Character;
      }
    }
  }

  void
  PutArgument (char16_t Type)
  {
    if (std::u16string_view (u"duxXp").find (Type) != std::u16string_view::npos) {
      PutNumber (Type, *Arguments++);
    } else if (Type == 'a') {
      PutText (String<UINT8> (*Arguments++));
    } else if (Type == 's' || Type == 'S') {
      PutText (String<char16_t> (*Arguments++));
    } else if (Type == 'c') {
      PutText ({static_cast<char16_t> (*Arguments++)});
    } else if (Type == 'g') {
      PutText (Guid (*Arguments++));
    } else if (Type == 't') {
      PutText (Time (*Arguments++));
    } else if (Type == 'r') {
      PutText (Status (*Arguments++));
    } else {
      PutLiteral (Type);
    }
  }

  void
  PutLiteral (char16_t Character)
  {
    const bool IsPair =
        (Character == '\n' && Peek () == '\r') || (Character == '\r' && Peek () == '\n');
    At += IsPair ? 1 : 0;
    PutText (IsPair || Character == '\n' ? u"\r\n" : std::u16string (1, Character));
  }

  template <typename Character>
  std::u16string
  String (UINT64 Address)
  {
    if (!Has ('.')) {
      Precision = 0;
    }
    const auto *Next = reinterpret_cast<const Character *> (Address);
    if (Next == nullptr) {
      return u"<null string>";
    }
    std::u16string Result;
    while ((!Has ('.') || Result.size () < Precision) && *Next != 0) {
      Result += static_cast<char16_t> (*Next++);
    }
    return Result;
  }

  static std::u16string
  Guid (UINT64 Address)
  {
    if (Address == 0) {
      return u"<null guid>";
    }
    EFI_GUID Guid;
    std::memcpy (&Guid, reinterpret_cast<const VOID *> (Address), sizeof Guid);
    const UINT8 *Last = Guid.Data4;
    return Composed ("%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X", Guid.Data1, Guid.Data2,
                     Guid.Data3, Last[0], Last[1], Last[2], Last[3], Last[4], Last[5], Last[6],
                     Last[7]);
  }

  static std::u16string
  Time (UINT64 Address)
  {
    if (Address == 0) {
      return u"<null time>";
    }
    const auto &Time = *reinterpret_cast<const EFI_TIME *> (Address);
    return Composed ("%02d/%02d/%04d  %02d:%02d", Time.Month, Time.Day, Time.Year, Time.Hour,
                     Time.Minute);
  }

  static std::u16string
  Status (UINT64 Status)
  {
    const UINT64 Number = Status & INT64_MAX;
    if (Number == Status && Number < WarningCount) {
      return StatusWords[Number];
    }
    if (Number != Status && Number >= 1 && Number <= ErrorCount) {
      return StatusWords[WarningCount + Number - 1];
    }
    return Composed ("%08X", static_cast<UINT32> (Status));
  }

  void
  PutNumber (char16_t Type, UINT64 Argument)
  {
    const bool IsDecimal = Type == 'd' || Type == 'u';
    const bool HasCommas = Has (',') && IsDecimal;
    const bool FillsWithZeros = Has ('0') || Type == 'X' || Type == 'p';
    UINT64 Value = Argument;
    if (!Has ('l') && !Has ('L') && Type != 'p') {
      const auto Low = static_cast<UINT32> (Argument);
      Value = Type == 'd' ? static_cast<UINT64> (static_cast<INT32> (Low)) : Low;
    }
    std::u16string Prefix;
    if (Type == 'd' && Value >> 63 != 0) {
      Prefix = u'-';
      Value = 0 - Value;
    } else if (Type != 'p') {
      Prefix = Has ('+') && Type != 'u' ? u"+" : Has (' ') ? u" " : u"";
    }

    std::u16string Digits = Composed (IsDecimal ? "%llu" : "%llX", Value);
    if (HasCommas) {
      Precision = 1;
      for (size_t Place = Digits.size (); Place > 3;) {
        Digits.insert (Place -= 3, 1, u',');
      }
    }
    if (Value == 0 && Precision == 0) {
      Digits.clear ();
    }
    Precision += Prefix.size ();
    if (FillsWithZeros && Has ('w') && !Has ('.') && !Has ('-') && !HasCommas) {
      Precision = Width;
    }
    LayOut (Prefix, u'0', Digits);
  }

  void
  PutText (std::u16string Text)
  {
    Text = Text.substr (0, Text.find (u'\0'));
    if (Has ('.') && Text.size () > Precision) {
      Text.resize (Precision);
    }
    LayOut (u"", u' ', Text);
  }

  /// Width and precision are the fewest characters with blanks and with the filler.
  void
  LayOut (const std::u16string &Prefix, char16_t Filler, const std::u16string &Text)
  {
    const UINT64 Count = Prefix.size () + Text.size ();
    const UINT64 Filled = std::max (Precision, Count);
    const UINT64 Blanks = Has ('w') ? Width - Filled : 0;
    Put (' ', Has ('-') ? 0 : Blanks);
    Put (Prefix);
    Put (Filler, Filled - Count);
    Put (Text);
    Put (' ', Has ('-') ? Blanks : 0);
  }

  void
  Put (const std::u16string &Text)
  {
    for (const char16_t Character : Text) {
      Put (Character, 1);
    }
  }

  void
  Put (char16_t Character, UINT64 Times)
  {
    if (static_cast<INT64> (Times) > 0) {
      Length += Times;
      Output.append (std::min<UINT64> (Times, Limit - Output.size ()), Character);
    }
  }

  std::u16string_view Input;
  const UINT64 *Arguments;
  size_t Limit;
  size_t At = 0;
  std::u16string Output;
  UINT64 Length = 0;

  // Of the directive, or of the one character outside any.
  std::u16string Flags; ///< As they stand in the directive; "w" once there is a width.
  UINT64 Width = 0;
  UINT64 Precision = 1;
};

} // namespace

ModelText
PrintByModel (std::u16string_view Format, const UINT64 *Slots, size_t Limit)
{
  return Model (Format, Slots, Limit).Run ();
}
