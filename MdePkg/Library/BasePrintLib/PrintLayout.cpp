#include "PrintConverter.h"

INTN
WriteLeadingPadding (PrintWriter &Writer,
                     const PrintDirective &Directive,
                     UINTN Count,
                     CHAR8 Prefix)
{
  // Width and precision come from the caller's "*" too. Their differences are taken modulo 2^64,
  // and a negative one fills nothing.
  const UINTN Precision = Directive.Precision < Count ? Count : Directive.Precision;
  INTN Trailing = 0;
  if ((Directive.Flags & PAD_TO_WIDTH) != 0) {
    const auto Blanks = static_cast<INTN> (Directive.Width - Precision);
    if ((Directive.Flags & LEFT_JUSTIFY) != 0) {
      Trailing = Blanks;
    } else {
      WriteFill (Writer, Blanks, ' ');
    }
  }
  if (Prefix != '\0') {
    WriteFill (Writer, 1, static_cast<UINT8> (Prefix));
  }
  const CHAR16 Filler = (Directive.Flags & ARGUMENT_REVERSED) != 0 ? '0' : ' ';
  WriteFill (Writer, static_cast<INTN> (Precision - Count), Filler);
  return Trailing;
}
