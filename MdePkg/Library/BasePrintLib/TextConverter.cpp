#include "BaseLib.h"
#include "PrintConverter.h"
#include "Unaligned.h"

namespace {

/// As AsciiStrnLenS, for 16-bit characters at any address.
UINTN
CountUnicodeCharacters (const CHAR8 *Characters, UINTN Limit)
{
  const auto *String = reinterpret_cast<const Unaligned<CHAR16> *> (Characters);
  UINTN Length = 0;
  while (Length < Limit && String[Length].Value != u'\0') {
    ++Length;
  }
  return Length;
}

/// Most characters that the directive shows of a text.
UINTN
LimitOf (const PrintDirective &Directive)
{
  return (Directive.Flags & PRECISION) != 0 ? Directive.Precision : ~UINTN{0};
}

} // namespace

VOID
LayOutText (PrintWriter &Writer,
            const PrintDirective &Directive,
            const CHAR8 *Characters,
            UINTN Length)
{
  const UINTN Limit = LimitOf (Directive);
  const UINTN Count = Length < Limit ? Length : Limit;
  const INTN CharacterSize = (Directive.Flags & ARGUMENT_UNICODE) != 0 ? 2 : 1;
  const INTN Trailing = WriteLeading (Writer, Directive, Count, '\0');
  WriteCharacters (Writer, Characters, Count, CharacterSize);
  WriteFill (Writer, Trailing, ' ');
}

VOID
ConvertText (PrintWriter &Writer, const PrintDirective &Directive, const CHAR8 *Characters)
{
  const UINTN Limit = LimitOf (Directive);
  const UINTN Length = (Directive.Flags & ARGUMENT_UNICODE) != 0
                           ? CountUnicodeCharacters (Characters, Limit)
                           : AsciiStrnLenS (Characters, Limit);
  LayOutText (Writer, Directive, Characters, Length);
}

VOID
ConvertString (PrintWriter &Writer, PrintDirective &Directive, const CHAR8 *String)
{
  if ((Directive.Flags & PRECISION) == 0) {
    Directive.Precision = 0;
  }
  if (String == nullptr) {
    Directive.Flags &= ~ARGUMENT_UNICODE;
    String = "<null string>";
  }
  ConvertText (Writer, Directive, String);
}

VOID
ConvertCharacter (PrintWriter &Writer, PrintDirective &Directive, CHAR16 Character)
{
  const CHAR8 Characters[] = {static_cast<CHAR8> (Character), static_cast<CHAR8> (Character >> 8)};
  Directive.Flags |= ARGUMENT_UNICODE;
  LayOutText (Writer, Directive, Characters, Character != '\0' ? 1 : 0);
}

VOID
ConvertLineEnd (PrintWriter &Writer,
                const PrintDirective &Directive,
                CHAR16 First,
                PrintFormat &Format)
{
  const CHAR16 Second = First == '\n' ? '\r' : '\n';
  const bool IsPair = PeekCharacter (Format) == Second;
  if (IsPair) {
    SkipCharacter (Format);
  }
  const bool IsLoneReturn = First == '\r' && !IsPair;
  LayOutText (Writer, Directive, "\r\n", IsLoneReturn ? 1 : 2);
}
