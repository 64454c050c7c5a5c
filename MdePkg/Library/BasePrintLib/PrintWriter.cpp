#include "PrintWriter.h"

namespace {

/// Number of output characters between two places; a division by the variable size would be slow.
UINTN
CountBetween (const PrintWriter &Writer, const CHAR8 *Begin, const CHAR8 *End)
{
  const auto Bytes = static_cast<UINTN> (End - Begin);
  return Writer.CharacterSize == 1 ? Bytes : Bytes / 2;
}

/// As many of Length characters as there is room for.
UINTN
LimitToRoom (const PrintWriter &Writer, UINTN Length)
{
  const UINTN Room = CountBetween (Writer, Writer.Position, Writer.End);
  return Length < Room ? Length : Room;
}

/// Copies Length bytes, most of them 8 at a time. Returns the place behind the last one.
CHAR8 *
CopyBytes (CHAR8 *To, const CHAR8 *From, UINTN Length)
{
  for (; Length >= sizeof (UINT64); Length -= sizeof (UINT64)) {
    __builtin_memcpy (To, From, sizeof (UINT64));
    To += sizeof (UINT64);
    From += sizeof (UINT64);
  }
  for (; Length != 0; --Length) {
    *To++ = *From++;
  }
  return To;
}

} // namespace

CHAR8 *EFIAPI
BasePrintLibFillBuffer (
    CHAR8 *Buffer, CHAR8 *EndBuffer, INTN Length, UINTN Character, INTN Increment)
{
  for (; Length > 0 && Buffer < EndBuffer; --Length) {
    Buffer[0] = static_cast<CHAR8> (Character);
    if (Increment != 1) {
      Buffer[1] = static_cast<CHAR8> (Character >> 8);
    }
    Buffer += Increment;
  }
  return Buffer;
}

PrintWriter
OpenWriter (CHAR8 *Buffer, UINTN BufferSize, UINTN Flags)
{
  const INTN CharacterSize = (Flags & OUTPUT_UNICODE) != 0 ? 2 : 1;
  if ((Flags & COUNT_ONLY_NO_PRINT) != 0) {
    return {nullptr, nullptr, nullptr, CharacterSize, true, 0};
  }
  CHAR8 *End = Buffer + static_cast<INTN> (BufferSize - 1) * CharacterSize;
  return {Buffer, Buffer, End, CharacterSize, false, 0};
}

VOID
WritePlainCharacters (PrintWriter &Writer, PrintFormat &Format)
{
  if (Format.CharacterSize != 1 || Writer.CharacterSize != 1 || Writer.CountOnly) {
    const UINTN Length = CountPlainCharacters (Format);
    const auto *Text = reinterpret_cast<const CHAR8 *> (Format.Position);
    WriteCharacters (Writer, Text, Length, Format.CharacterSize);
    Format.Position += static_cast<INTN> (Length) * Format.CharacterSize;
    return;
  }

  // Most characters of a log go this way, so they are read and written in one pass.
  const UINT8 *From = Format.Position;
  CHAR8 *To = Writer.Position;
  const CHAR8 *End = Writer.End;
  while (To < End && IsPlain (*From)) {
    *To++ = static_cast<CHAR8> (*From++);
  }
  Format.Position = From;
  Writer.Position = To;
}

VOID
WriteCharacters (PrintWriter &Writer, const CHAR8 *Text, UINTN Length, INTN CharacterSize)
{
  if (Writer.CountOnly) {
    Writer.Counted += Length;
    return;
  }

  UINTN Left = LimitToRoom (Writer, Length);
  if (CharacterSize == 1 && Writer.CharacterSize == 1) {
    Writer.Position = CopyBytes (Writer.Position, Text, Left);
    return;
  }
  CHAR8 *Position = Writer.Position;
  for (; Left != 0; --Left) {
    Position[0] = Text[0];
    if (Writer.CharacterSize != 1) {
      Position[1] = CharacterSize != 1 ? Text[1] : '\0';
    }
    Position += Writer.CharacterSize;
    Text += CharacterSize;
  }
  Writer.Position = Position;
}

VOID
WriteDigits (PrintWriter &Writer, const CHAR8 *LastDigit, UINTN Length)
{
  if (Writer.CountOnly) {
    Writer.Counted += Length;
    return;
  }

  CHAR8 *Position = Writer.Position;
  for (UINTN Left = LimitToRoom (Writer, Length); Left != 0; --Left) {
    *Position++ = *LastDigit--;
    if (Writer.CharacterSize != 1) {
      *Position++ = '\0';
    }
  }
  Writer.Position = Position;
}

VOID
WriteRepeated (PrintWriter &Writer, INTN Length, CHAR16 Character)
{
  if (Writer.CountOnly) {
    Writer.Counted += static_cast<UINTN> (Length);
    return;
  }
  Writer.Position =
      BasePrintLibFillBuffer (Writer.Position, Writer.End, Length, Character, Writer.CharacterSize);
}

UINTN
CloseWriter (const PrintWriter &Writer)
{
  if (Writer.CountOnly) {
    return Writer.Counted;
  }
  Writer.Position[0] = '\0';
  if (Writer.CharacterSize != 1) {
    Writer.Position[1] = '\0';
  }
  return CountBetween (Writer, Writer.Start, Writer.Position);
}
