#include "PrintWriter.h"

#include "PrintDirective.h"

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

bool
IsWriterFull (const PrintWriter &Writer)
{
  return !Writer.CountOnly && Writer.Position >= Writer.End;
}

VOID
WriteFill (PrintWriter &Writer, INTN Length, CHAR16 Character)
{
  if (!Writer.CountOnly) {
    Writer.Position = BasePrintLibFillBuffer (Writer.Position, Writer.End, Length, Character,
                                              Writer.CharacterSize);
  } else if (Length > 0) {
    Writer.Counted += static_cast<UINTN> (Length);
  }
}

const CHAR8 *
WriteCharacters (PrintWriter &Writer, const CHAR8 *Text, UINTN Length, UINTN Flags)
{
  const bool IsUnicode = (Flags & ARGUMENT_UNICODE) != 0;
  const INTN Step = (Flags & ARGUMENT_REVERSED) != 0 ? -1 : (IsUnicode ? 2 : 1);
  for (; Length != 0; --Length) {
    const CHAR16 Character = ReadCharacter (Text, IsUnicode);
    if (Character == '\0') {
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
  if (Writer.CountOnly) {
    return Writer.Counted;
  }
  __builtin_memset (Writer.Position, 0, static_cast<UINTN> (Writer.CharacterSize));
  return static_cast<UINTN> (Writer.Position - Writer.Start) /
         static_cast<UINTN> (Writer.CharacterSize);
}
