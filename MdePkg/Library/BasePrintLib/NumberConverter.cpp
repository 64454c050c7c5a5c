#include "PrintText.h"

namespace {

constexpr CHAR8 DigitCharacters[] = "0123456789ABCDEF";

/// What stands ahead of a number that is not negative; NUL for nothing.
CHAR8
PrefixOf (UINTN Flags)
{
  if ((Flags & PREFIX_SIGN) != 0) {
    return '+';
  }
  return (Flags & PREFIX_BLANK) != 0 ? ' ' : '\0';
}

} // namespace

CHAR8 *EFIAPI
BasePrintLibValueToString (CHAR8 *Buffer, UINT64 Value, UINT32 Radix)
{
  *Buffer = '\0';
  do {
    *++Buffer = DigitCharacters[Value % Radix];
    Value /= Radix;
  } while (Value != 0);
  return Buffer;
}

VOID
PrintNumber (PrintWriter &Writer, const PrintDirective &Directive, UINT64 Argument)
{
  const UINTN Flags = Directive.Flags;
  const bool IsDecimal = (Flags & RADIX_HEX) == 0;
  const bool IsSigned = IsDecimal && (Flags & UNSIGNED_TYPE) == 0;

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
  const UINTN Comma = IsDecimal ? Flags & COMMA_TYPE : 0;
  UINTN Precision = Comma != 0 ? 1 : Directive.Precision;
  const UINTN Length = Value == 0 && Precision == 0 ? 0 : static_cast<UINTN> (LastDigit - Digits);
  if (Prefix != '\0') {
    ++Precision;
  }
  constexpr UINTN FillsWidth = PAD_TO_WIDTH | PREFIX_ZERO;
  if (Comma == 0 && (Flags & (FillsWidth | PRECISION | LEFT_JUSTIFY)) == FillsWidth) {
    Precision = Directive.Width;
  }
  LayOut (Writer, Directive, {LastDigit, Length, Precision, ARGUMENT_REVERSED | Comma, Prefix});
}
