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
  for (CHAR16 Digit = PeekCharacter (Format); IsDigit (Digit); Digit = PeekCharacter (Format)) {
    Number = Number * 10 + (Digit - '0');
    SkipCharacter (Format);
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

} // namespace

UINTN
CountPlainCharacters (const PrintFormat &Format)
{
  PrintFormat Rest = Format;
  UINTN Count = 0;
  while (IsPlain (PeekCharacter (Rest))) {
    SkipCharacter (Rest);
    ++Count;
  }
  return Count;
}

PrintDirective
ParseDirective (PrintFormat &Format, VA_LIST &Marker)
{
  PrintDirective Directive;
  for (;;) {
    const CHAR16 Character = PeekCharacter (Format);
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
      SetNumber (Directive, TakeArgument (Marker));
      break;
    case '0':
      if ((Directive.Flags & PRECISION) == 0) {
        Directive.Flags |= PREFIX_ZERO;
      }
      [[fallthrough]];
    case '1':
    case '2':
    case '3':
    case '4':
    case '5':
    case '6':
    case '7':
    case '8':
    case '9':
      SetNumber (Directive, TakeNumber (Format));
      continue;
    case '\0':
      Directive.Precision = 0;
      return Directive;
    default:
      Directive.Type = Character;
      SkipCharacter (Format);
      return Directive;
    }
    SkipCharacter (Format);
  }
}
