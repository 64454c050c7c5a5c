#include "PrintDirective.h"

namespace {

bool
IsDigit (CHAR16 Character)
{
  return Character >= '0' && Character <= '9';
}

/// Takes the run of decimal digits at which the format stands. A number beyond 64 bits wraps.
UINTN
TakeNumber (PrintFormat &Format)
{
  UINTN Number = 0;
  while (IsDigit (PeekCharacter (Format))) {
    Number = Number * 10 + (TakeCharacter (Format) - '0');
  }
  return Number;
}

/// A number is the precision from the "." on, and the width before it.
VOID
SetNumber (PrintDirective &Directive, UINTN Number)
{
  if ((Directive.Flags & PRECISION) != 0) {
    Directive.Precision = Number;
  } else {
    Directive.Width = Number;
    Directive.Flags |= PAD_TO_WIDTH;
  }
}

/// Ends a directive with its type, which has a say in the flags.
VOID
SetType (PrintDirective &Directive, CHAR16 Type)
{
  Directive.Type = Type;
  switch (Type) {
  case 'p':
    Directive.Flags &= ~(PREFIX_BLANK | PREFIX_SIGN);
    Directive.Flags |= LONG_TYPE;
    [[fallthrough]];
  case 'X':
    Directive.Flags |= PREFIX_ZERO;
    [[fallthrough]];
  case 'x':
    Directive.Flags |= RADIX_HEX;
    break;
  case 'u':
    Directive.Flags &= ~PREFIX_SIGN;
    Directive.Flags |= UNSIGNED_TYPE;
    break;
  case 's':
  case 'S':
    Directive.Flags |= ARGUMENT_UNICODE;
    [[fallthrough]];
  case 'a':
    if ((Directive.Flags & PRECISION) == 0) {
      Directive.Precision = 0;
    }
    break;
  default:
    break;
  }
}

} // namespace

PrintDirective
ParseDirective (PrintFormat &Format, VA_LIST &Marker)
{
  PrintDirective Directive;
  for (;;) {
    if (IsDigit (PeekCharacter (Format))) {
      if (PeekCharacter (Format) == '0' && (Directive.Flags & PRECISION) == 0) {
        Directive.Flags |= PREFIX_ZERO;
      }
      SetNumber (Directive, TakeNumber (Format));
      continue;
    }
    if (PeekCharacter (Format) == '\0') {
      Directive.Precision = 0;
      return Directive;
    }
    const CHAR16 Character = TakeCharacter (Format);
    switch (Character) {
    case '.':
      Directive.Flags |= PRECISION;
      break;
    case '-':
      Directive.Flags |= LEFT_JUSTIFY;
      break;
    case '+':
      Directive.Flags |= PREFIX_SIGN;
      break;
    case ' ':
      Directive.Flags |= PREFIX_BLANK;
      break;
    case ',':
      Directive.Flags |= COMMA_TYPE;
      break;
    case 'l':
    case 'L':
      Directive.Flags |= LONG_TYPE;
      break;
    case '*':
      SetNumber (Directive, VA_ARG (Marker, UINT64));
      break;
    default:
      SetType (Directive, Character);
      return Directive;
    }
  }
}
