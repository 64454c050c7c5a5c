#include "PrintLayout.h"

namespace {

constexpr UINTN DigitsPerGroup = 3;

} // namespace

VOID
LayOut (PrintWriter &Writer, const PrintDirective &Directive, const LaidOutText &Text)
{
  const bool HasGroups = (Text.Flags & COMMA_TYPE) != 0;
  UINTN Count = Text.Length;
  if (HasGroups) {
    Count += (Text.Length - 1) / DigitsPerGroup;
  }
  if (Text.Prefix != '\0') {
    ++Count;
  }

  // Width and precision come from the caller's "*" too. Their differences are taken modulo 2^64,
  // and a negative one fills nothing.
  const UINTN Precision = Text.Precision < Count ? Count : Text.Precision;
  const auto Blanks = static_cast<INTN> (Directive.Width - Precision);
  const UINTN Side = Directive.Flags & (PAD_TO_WIDTH | LEFT_JUSTIFY);
  if (Side == PAD_TO_WIDTH) {
    WriteFill (Writer, Blanks, ' ');
  }
  if (Text.Prefix != '\0') {
    WriteFill (Writer, 1, static_cast<UINT8> (Text.Prefix));
  }
  WriteFill (Writer, static_cast<INTN> (Precision - Count),
             (Text.Flags & ARGUMENT_REVERSED) != 0 ? '0' : ' ');
  const CHAR8 *Characters = Text.Characters;
  for (UINTN Left = Text.Length; Left != 0;) {
    const UINTN Group = HasGroups ? (Left - 1) % DigitsPerGroup + 1 : Left;
    Characters = WriteCharacters (Writer, Characters, Group, Text.Flags);
    Left -= Group;
    if (Left != 0) {
      WriteFill (Writer, 1, ',');
    }
  }
  if (Side == (PAD_TO_WIDTH | LEFT_JUSTIFY)) {
    WriteFill (Writer, Blanks, ' ');
  }
}
