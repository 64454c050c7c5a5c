#include "PrintWriter.h"

#include "PrintDirective.h"

namespace {

/// Whether Character ends a text; in a format, a stretch of characters that stand for themselves.
inline bool
EndsText (CHAR16 Character, bool IsFormat)
{
  return Character <= '%' &&
         (Character == '\0' ||
          (IsFormat && (Character == '%' || Character == '\n' || Character == '\r')));
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
    return {nullptr, 0, ~UINTN{0}, CharacterSize};
  }
  return {Buffer, 0, BufferSize - 1, CharacterSize};
}

VOID
WriteFill (PrintWriter &Writer, INTN Length, CHAR16 Character)
{
  if (Writer.Start == nullptr) {
    Writer.Count += Length > 0 ? static_cast<UINTN> (Length) : 0;
    return;
  }
  const INTN Size = Writer.CharacterSize;
  const CHAR8 *Behind = BasePrintLibFillBuffer (
      Writer.Start + static_cast<INTN> (Writer.Count) * Size,
      Writer.Start + static_cast<INTN> (Writer.Limit) * Size, Length, Character, Size);
  Writer.Count = static_cast<UINTN> ((Behind - Writer.Start) / Size);
}

const CHAR8 *
WriteCharacters (PrintWriter &Writer, const CHAR8 *Text, UINTN Length, UINTN Flags)
{
  const bool IsUnicode = (Flags & ARGUMENT_UNICODE) != 0;
  const bool IsFormat = (Flags & ARGUMENT_FORMAT) != 0;
  const INTN Step = (Flags & ARGUMENT_REVERSED) != 0 ? -1 : (IsUnicode ? 2 : 1);
  if (!IsUnicode && Writer.Start != nullptr && Writer.CharacterSize == 1) {
    // Nearly all text goes this way.
    CHAR8 *To = Writer.Start + Writer.Count;
    const CHAR8 *End = Writer.Start + Writer.Limit;
    for (; Length != 0 && To != End; --Length) {
      const CHAR8 Character = *Text;
      if (EndsText (static_cast<UINT8> (Character), IsFormat)) {
        break;
      }
      *To++ = Character;
      Text += Step;
    }
    Writer.Count = static_cast<UINTN> (To - Writer.Start);
    return Text;
  }
  for (; Length != 0; --Length) {
    const CHAR16 Character = ReadCharacter (Text, IsUnicode);
    if (EndsText (Character, IsFormat)) {
      break;
    }
    WriteCharacter (Writer, Character);
    Text += Step;
  }
  return Text;
}

UINTN
CloseWriter (const PrintWriter &Writer)
{
  if (Writer.Start != nullptr) {
    const INTN Size = Writer.CharacterSize;
    __builtin_memset (Writer.Start + static_cast<INTN> (Writer.Count) * Size, 0,
                      static_cast<UINTN> (Size));
  }
  return Writer.Count;
}
