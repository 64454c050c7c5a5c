#include "PrintText.h"

VOID
PrintText (PrintWriter &Writer,
           const PrintDirective &Directive,
           const CHAR8 *Characters,
           UINTN Flags)
{
  const bool IsUnicode = Flags == ARGUMENT_UNICODE;
  const bool IsCut = (Directive.Flags & PRECISION) != 0;
  UINTN Length = 0;
  while (!(IsCut && Length == Directive.Precision) &&
         ReadCharacter (Characters + (IsUnicode ? 2 * Length : Length), IsUnicode) != '\0') {
    ++Length;
  }
  LayOut (Writer, Directive, {Characters, Length, Directive.Precision, Flags, '\0'});
}

VOID
PrintString (PrintWriter &Writer, const PrintDirective &Directive, const CHAR8 *String)
{
  if (String == nullptr) {
    PrintText (Writer, Directive, "<null string>", 0);
  } else {
    PrintText (Writer, Directive, String, Directive.Flags & ARGUMENT_UNICODE);
  }
}

VOID
PrintCharacter (PrintWriter &Writer, const PrintDirective &Directive, CHAR16 Character)
{
  const CHAR8 Text[4] = {static_cast<CHAR8> (Character), static_cast<CHAR8> (Character >> 8)};
  PrintText (Writer, Directive, Text, ARGUMENT_UNICODE);
}
