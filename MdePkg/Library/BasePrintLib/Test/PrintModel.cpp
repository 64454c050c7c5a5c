#include "PrintModel.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>

#include "Uefi/Time.h"

namespace {

const char16_t *const WarningWords[] = {u"Success",
                                        u"Warning Unknown Glyph",
                                        u"Warning Delete Failure",
                                        u"Warning Write Failure",
                                        u"Warning Buffer Too Small",
                                        u"Warning Stale Data"};
const char16_t *const ErrorWords[] = {
    u"Load Error",           u"Invalid Parameter",  u"Unsupported",
    u"Bad Buffer Size",      u"Buffer Too Small",   u"Not Ready",
    u"Device Error",         u"Write Protected",    u"Out of Resources",
    u"Volume Corrupt",       u"Volume Full",        u"No Media",
    u"Media changed",        u"Not Found",          u"Access Denied",
    u"No Response",          u"No mapping",         u"Time out",
    u"Not started",          u"Already started",    u"Aborted",
    u"ICMP Error",           u"TFTP Error",         u"Protocol Error",
    u"Incompatible Version", u"Security Violation", u"CRC Error",
    u"End of Media",         u"Reserved (29)",      u"Reserved (30)",
    u"End of File",          u"Invalid Language",   u"Compromised Data"};

/// The values of one pass: of one directive, or one character outside any.
struct Pass {
  std::u16string Flags; ///< As they stand in the directive; "w" once there is a width.
  UINT64 Width = 0;
  UINT64 Precision = 1;

  bool
  Has (char16_t Flag) const
  {
    return Flags.find (Flag) != Flags.npos;
  }

  void
  Set (UINT64 Number)
  {
    if (Has ('.')) {
      Precision = Number;
    } else {
      Width = Number;
      Flags += u'w';
    }
  }
};

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
      Pass Values;
      const char16_t Character = Input[At++];
      if (Character == '%') {
        Directive (Values);
      } else {
        Literal (Values, Character);
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

  void
  Put (char16_t Character, UINT64 Times = 1)
  {
    if (static_cast<INT64> (Times) > 0) {
      Length += Times;
      Output.append (std::min<UINT64> (Times, Limit - Output.size ()), Character);
    }
  }

  void
  Pad (const Pass &Values, bool IsHere)
  {
    if (IsHere && Values.Has ('w')) {
      Put (' ', Values.Width - Values.Precision);
    }
  }

  void
  Directive (Pass &Values)
  {
    for (;;) {
      const char16_t Character = Peek ();
      if (Character >= '0' && Character <= '9') {
        if (Character == '0' && !Values.Has ('.')) {
          Values.Flags += Character;
        }
        UINT64 Number = 0;
        for (; Peek () >= '0' && Peek () <= '9'; ++At) {
          Number = 10 * Number + (Peek () - u'0');
        }
        Values.Set (Number);
        continue;
      }
      if (Character == 0) {
        Values.Precision = 0;
        Text (Values, u"");
        return;
      }
      ++At;
      if (Character == '*') {
        Values.Set (*Arguments++);
      } else if (std::u16string_view (u".-+ ,lL").find (Character) != std::u16string_view::npos) {
        Values.Flags += Character;
      } else {
        Argument (Values, Character);
        return;
      }
    }
  }

  void
  Argument (Pass &Values, char16_t Type)
  {
    if (std::u16string_view (u"duxXp").find (Type) != std::u16string_view::npos) {
      Number (Values, Type, *Arguments++);
    } else if (Type == 'a' || Type == 's' || Type == 'S') {
      if (!Values.Has ('.')) {
        Values.Precision = 0;
      }
      Text (Values, String (*Arguments++, Type != 'a', Values));
    } else if (Type == 'c') {
      Text (Values, {static_cast<char16_t> (*Arguments++)});
    } else if (Type == 'g') {
      Text (Values, Guid (*Arguments++));
    } else if (Type == 't') {
      Text (Values, Time (*Arguments++));
    } else if (Type == 'r') {
      Text (Values, Status (*Arguments++));
    } else {
      Literal (Values, Type);
    }
  }

  void
  Literal (Pass &Values, char16_t Character)
  {
    const bool IsPair =
        (Character == '\n' && Peek () == '\r') || (Character == '\r' && Peek () == '\n');
    At += IsPair ? 1 : 0;
    Text (Values, IsPair || Character == '\n' ? u"\r\n" : std::u16string (1, Character));
  }

  static std::u16string
  String (UINT64 Address, bool IsWide, const Pass &Values)
  {
    const auto *Bytes = reinterpret_cast<const UINT8 *> (Address);
    if (Bytes == nullptr) {
      return u"<null string>";
    }
    std::u16string Result;
    while (!Values.Has ('.') || Result.size () < Values.Precision) {
      const int Character = IsWide ? Bytes[0] + 256 * Bytes[1] : Bytes[0];
      if (Character == 0) {
        break;
      }
      Result += static_cast<char16_t> (Character);
      Bytes += IsWide ? 2 : 1;
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
    UINT64 Slots[11] = {Guid.Data1, Guid.Data2, Guid.Data3};
    std::copy_n (Guid.Data4, 8, Slots + 3);
    return Model (u"%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", Slots, 37).Run ().Text;
  }

  static std::u16string
  Time (UINT64 Address)
  {
    if (Address == 0) {
      return u"<null time>";
    }
    const auto &Time = *reinterpret_cast<const EFI_TIME *> (Address);
    const UINT64 Slots[] = {Time.Month, Time.Day, Time.Year, Time.Hour, Time.Minute};
    return Model (u"%02d/%02d/%04d  %02d:%02d", Slots, 37).Run ().Text;
  }

  static std::u16string
  Status (UINT64 Status)
  {
    const UINT64 Low = Status & INT64_MAX;
    if (Low == Status && Status <= 5) {
      return WarningWords[Status];
    }
    if (Low != Status && Low >= 1 && Low <= 33) {
      return ErrorWords[Low - 1];
    }
    return Model (u"%08X", &Status, 37).Run ().Text;
  }

  void
  Number (Pass &Values, char16_t Type, UINT64 Argument)
  {
    const bool IsDecimal = Type == 'd' || Type == 'u';
    const bool IsLong = Values.Has ('l') || Values.Has ('L') || Type == 'p';
    bool FillsWithZeros = Values.Has ('0') || Type == 'X' || Type == 'p';
    const bool HasCommas = Values.Has (',') && IsDecimal;
    char16_t Prefix = 0;
    if (Type != 'p') {
      Prefix = Values.Has ('+') && Type != 'u' ? u'+' : Values.Has (' ') ? u' ' : u'\0';
    }

    UINT64 Value = IsLong ? Argument : static_cast<UINT64> (static_cast<INT32> (Argument));
    if (Type == 'd' && Value >> 63 != 0) {
      Prefix = '-';
      Value = 0 - Value;
    }
    if (HasCommas) {
      FillsWithZeros = false;
      Values.Precision = 1;
    }
    if (Type != 'd' && !IsLong) {
      Value &= 0xFFFFFFFF;
    }

    char Text[21];
    *std::to_chars (Text, Text + 20, Value, IsDecimal ? 10 : 16).ptr = '\0';
    UINT64 Count = Value == 0 && Values.Precision == 0 ? 0 : std::strlen (Text);
    UINT64 Digits = Count % 3 != 0 ? 3 - Count % 3 : 0;
    if (HasCommas && Count != 0) {
      Count += (Count - 1) / 3;
    }
    if (Prefix != 0) {
      ++Count;
      ++Values.Precision;
    }
    if (Values.Has ('w') && FillsWithZeros && !Values.Has ('.') && !Values.Has ('-')) {
      Values.Precision = Values.Width;
    }

    Values.Precision = std::max (Values.Precision, Count);
    Pad (Values, !Values.Has ('-'));
    if (Prefix != 0) {
      Put (Prefix);
    }
    Put ('0', Values.Precision - Count);
    const char *Next = Text;
    for (UINT64 Index = Prefix != 0 ? 1 : 0; Index < Count && *Next != '\0'; ++Index) {
      Put (static_cast<char16_t> (std::toupper (*Next++)));
      if (HasCommas && ++Digits == 3) {
        Digits = 0;
        if (++Index < Count) {
          Put (',');
        }
      }
    }
    Pad (Values, Values.Has ('-'));
  }

  void
  Text (Pass &Values, std::u16string Shown)
  {
    Shown = Shown.substr (0, Shown.find (u'\0'));
    if (Values.Has ('.') && Shown.size () > Values.Precision) {
      Shown.resize (Values.Precision);
    }
    Values.Precision = std::max<UINT64> (Values.Precision, Shown.size ());
    Pad (Values, !Values.Has ('-'));
    Put (' ', Values.Precision - Shown.size ());
    for (const char16_t Character : Shown) {
      Put (Character);
    }
    Pad (Values, Values.Has ('-'));
  }

  std::u16string_view Input;
  const UINT64 *Arguments;
  size_t Limit;
  size_t At = 0;
  std::u16string Output;
  UINT64 Length = 0;
};

} // namespace

ModelText
PrintByModel (std::u16string_view Format, const UINT64 *Slots, size_t Limit)
{
  return Model (Format, Slots, Limit).Run ();
}
