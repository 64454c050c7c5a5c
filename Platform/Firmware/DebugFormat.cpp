#include "DebugFormat.h"

#include "FirmwareWorld.h"

namespace {

/// Warnings, by status.
constexpr const CHAR8 *WarningTexts[] = {
    "Success",
    "Warning Unknown Glyph",
    "Warning Delete Failure",
    "Warning Write Failure",
    "Warning Buffer Too Small",
    "Warning Stale Data",
};

/// Errors, by status without its top bit, from 1 on.
constexpr const CHAR8 *ErrorTexts[] = {
    "Load Error",           "Invalid Parameter",  "Unsupported",
    "Bad Buffer Size",      "Buffer Too Small",   "Not Ready",
    "Device Error",         "Write Protected",    "Out of Resources",
    "Volume Corrupt",       "Volume Full",        "No Media",
    "Media changed",        "Not Found",          "Access Denied",
    "No Response",          "No mapping",         "Time out",
    "Not started",          "Already started",    "Aborted",
    "ICMP Error",           "TFTP Error",         "Protocol Error",
    "Incompatible Version", "Security Violation", "CRC Error",
    "End of Media",         "Reserved (29)",      "Reserved (30)",
    "End of File",          "Invalid Language",   "Compromised Data",
};
static_assert (ArrayCount (ErrorTexts) == 33);

constexpr UINTN DigitsMax = 20;

/// Takes the output; characters beyond the last place are dropped.
struct Writer {
  CHAR8 *Next;
  CHAR8 *Last; ///< The place of the NUL in a full buffer.
};

/// What stands between "%" and the conversion's letter, and that letter.
struct Directive {
  bool LeftJustify;
  bool ZeroFill;
  bool Long;
  UINTN Width;
  CHAR8 Type;
};

VOID
Put (Writer *To, CHAR8 Character)
{
  if (To->Next < To->Last) {
    *To->Next++ = Character;
  }
}

VOID
PutRepeated (Writer *To, CHAR8 Character, UINTN Count)
{
  for (UINTN Index = 0; Index < Count; ++Index) {
    Put (To, Character);
  }
}

/// Writes Length characters of 8 or 16 bits, of which the low 8 count, padded to the width.
template <typename Character>
VOID
PutText (Writer *To, const Directive &How, const Character *Text, UINTN Length)
{
  const UINTN Padding = How.Width > Length ? How.Width - Length : 0;
  PutRepeated (To, ' ', How.LeftJustify ? 0 : Padding);
  for (UINTN Index = 0; Index < Length; ++Index) {
    Put (To, static_cast<CHAR8> (Text[Index]));
  }
  PutRepeated (To, ' ', How.LeftJustify ? Padding : 0);
}

template <typename Character>
VOID
PutString (Writer *To, const Directive &How, const Character *Text)
{
  constexpr CHAR8 NullText[] = "<null string>";
  if (Text == nullptr) {
    PutText (To, How, NullText, sizeof NullText - 1);
    return;
  }
  UINTN Length = 0;
  while (Text[Length] != 0) {
    ++Length;
  }
  PutText (To, How, Text, Length);
}

VOID
PutNumber (Writer *To, const Directive &How, bool Negative, UINT64 Value, UINT64 Radix)
{
  CHAR8 Text[DigitsMax + 1]; // One more for the sign.
  UINTN First = sizeof Text;
  do {
    Text[--First] = "0123456789ABCDEF"[Value % Radix];
    Value /= Radix;
  } while (Value != 0);

  UINTN Length = sizeof Text - First + (Negative ? 1 : 0);
  if (How.ZeroFill && !How.LeftJustify && Length < How.Width) {
    if (Negative) {
      Put (To, '-');
    }
    PutRepeated (To, '0', How.Width - Length);
    PutText (To, {}, &Text[First], sizeof Text - First);
    return;
  }
  if (Negative) {
    Text[--First] = '-';
  }
  PutText (To, How, &Text[First], Length);
}

VOID
PutSigned (Writer *To, const Directive &How, UINT64 Slot)
{
  const INT64 Value = How.Long ? static_cast<INT64> (Slot) : static_cast<INT32> (Slot);
  PutNumber (To, How, Value < 0,
             Value < 0 ? 0 - static_cast<UINT64> (Value) : static_cast<UINT64> (Value), 10);
}

VOID
PutHexadecimal (Writer *To, Directive How, UINT64 Slot)
{
  How.ZeroFill |= How.Type == 'X';
  PutNumber (To, How, false, How.Long ? Slot : static_cast<UINT32> (Slot), 16);
}

/// A status of no name is written as the 8 digits of its low half.
VOID
PutStatus (Writer *To, const Directive &How, EFI_STATUS Status)
{
  const UINTN Number = Status & ~EfiErrorCode (0);
  if (!EFI_ERROR (Status) && Number < ArrayCount (WarningTexts)) {
    PutString (To, How, WarningTexts[Number]);
  } else if (EFI_ERROR (Status) && Number >= 1 && Number <= ArrayCount (ErrorTexts)) {
    PutString (To, How, ErrorTexts[Number - 1]);
  } else {
    PutHexadecimal (
        To, {.LeftJustify = false, .ZeroFill = true, .Long = false, .Width = 8, .Type = 'X'},
        Status);
  }
}

/// Reads a directive from behind its "%". Returns the place behind its letter.
const CHAR8 *
ReadDirective (const CHAR8 *Format, Directive *Read)
{
  *Read = {};
  for (;; ++Format) {
    const CHAR8 Character = *Format;
    if (Character == '-') {
      Read->LeftJustify = true;
    } else if (Character == 'l' || Character == 'L') {
      Read->Long = true;
    } else if (Character == '0' && Read->Width == 0) {
      Read->ZeroFill = true;
    } else if (Character >= '0' && Character <= '9') {
      Read->Width = Read->Width * 10 + static_cast<UINTN> (Character - '0');
    } else {
      Read->Type = Character;
      return Character != 0 ? Format + 1 : Format;
    }
  }
}

VOID
PutConversion (Writer *To, const Directive &How, UINT64 Slot)
{
  switch (How.Type) {
  case 'd':
    PutSigned (To, How, Slot);
    break;
  case 'x':
  case 'X':
    PutHexadecimal (To, How, Slot);
    break;
  case 'a':
    PutString (To, How, reinterpret_cast<const CHAR8 *> (Slot));
    break;
  case 's':
    PutString (To, How, reinterpret_cast<const CHAR16 *> (Slot));
    break;
  case 'r':
    PutStatus (To, How, Slot);
    break;
  default:
    FirmwareFault ("a debug message has a conversion that its service does not know");
  }
}

} // namespace

UINTN
DebugFormat (CHAR8 *Buffer, UINTN Size, const CHAR8 *Format, VA_LIST Args)
{
  Writer Output = {.Next = Buffer, .Last = Buffer + Size - 1};
  while (*Format != 0) {
    if (*Format != '%') {
      Put (&Output, *Format++);
      continue;
    }
    Directive How;
    Format = ReadDirective (Format + 1, &How);
    if (How.Type == '%') {
      Put (&Output, '%');
    } else {
      // Each argument stands in a slot of 8 bytes, whatever its type.
      PutConversion (&Output, How, VA_ARG (Args, UINT64));
    }
  }
  *Output.Next = 0;
  return static_cast<UINTN> (Output.Next - Buffer);
}
