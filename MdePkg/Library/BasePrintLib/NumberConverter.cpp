#include "PrintConverter.h"

namespace {

constexpr UINTN DigitsPerGroup = 3;
constexpr CHAR8 DigitCharacters[] = "0123456789ABCDEF";

/// Inlined for each radix, so that a constant one takes no division.
[[gnu::always_inline]] inline CHAR8 *
AppendDigits (CHAR8 *LastDigit, UINT64 Value, UINT32 Radix)
{
  do {
    *++LastDigit = DigitCharacters[Value % Radix];
    Value /= Radix;
  } while (Value != 0);
  return LastDigit;
}

/// What stands ahead of a number that is not negative; NUL for nothing.
CHAR8
PrefixOf (UINTN Flags)
{
  if ((Flags & PREFIX_SIGN) != 0) {
    return '+';
  }
  return (Flags & PREFIX_BLANK) != 0 ? ' ' : '\0';
}

/// Writes digits with a comma ahead of each group of three but the first.
VOID
WriteGroups (PrintWriter &Writer, const CHAR8 *LastDigit, UINTN Length)
{
  UINTN Group = (Length - 1) % DigitsPerGroup + 1;
  for (;;) {
    WriteDigits (Writer, LastDigit, Group);
    Length -= Group;
    if (Length == 0) {
      return;
    }
    LastDigit -= Group;
    Group = DigitsPerGroup;
    WriteFill (Writer, 1, ',');
  }
}

} // namespace

CHAR8 *EFIAPI
BasePrintLibValueToString (CHAR8 *Buffer, UINT64 Value, UINT32 Radix)
{
  *Buffer = '\0';
  switch (Radix) {
  case 10:
    return AppendDigits (Buffer, Value, 10);
  case 16:
    return AppendDigits (Buffer, Value, 16);
  default:
    return AppendDigits (Buffer, Value, Radix);
  }
}

VOID
ConvertNumber (PrintWriter &Writer, PrintDirective &Directive, UINT64 Argument)
{
  const UINTN Flags = Directive.Flags;
  const bool IsDecimal = (Flags & RADIX_HEX) == 0;
  const bool IsSigned = (Flags & (RADIX_HEX | UNSIGNED_TYPE)) == 0;

  UINT64 Value = Argument;
  if ((Flags & LONG_TYPE) == 0) {
    const auto Low = static_cast<UINT32> (Argument);
    Value = IsSigned ? static_cast<UINT64> (static_cast<INT32> (Low)) : Low;
  }
  CHAR8 Prefix = PrefixOf (Flags);
  if (IsSigned && static_cast<INT64> (Value) < 0) {
    Prefix = '-';
    Value = 0 - Value;
  }

  CHAR8 Digits[MAXIMUM_VALUE_CHARACTERS];
  const CHAR8 *LastDigit = BasePrintLibValueToString (Digits, Value, IsDecimal ? 10 : 16);
  auto Length = static_cast<UINTN> (LastDigit - Digits);
  UINTN Commas = 0;
  bool FillsWidth = (Flags & (PAD_TO_WIDTH | PREFIX_ZERO | PRECISION | LEFT_JUSTIFY)) ==
                    (PAD_TO_WIDTH | PREFIX_ZERO);
  if (IsDecimal && (Flags & COMMA_TYPE) != 0) {
    Commas = (Length - 1) / DigitsPerGroup;
    Directive.Precision = 1;
    FillsWidth = false;
  }
  if (Value == 0 && Directive.Precision == 0) {
    Length = 0;
  }
  UINTN Count = Length + Commas;
  if (Prefix != '\0') {
    ++Count;
    ++Directive.Precision;
  }
  if (FillsWidth) {
    Directive.Precision = Directive.Width;
  }

  Directive.Flags |= ARGUMENT_REVERSED;
  const INTN Trailing = WriteLeading (Writer, Directive, Count, Prefix);
  if (Commas != 0) {
    WriteGroups (Writer, LastDigit, Length);
  } else {
    WriteDigits (Writer, LastDigit, Length);
  }
  WriteFill (Writer, Trailing, ' ');
}
