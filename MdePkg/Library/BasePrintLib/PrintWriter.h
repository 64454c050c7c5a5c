/// The writer: alone touches the output buffer and knows its end.
#pragma once

#include "PrintDirective.h"

/// Where output goes. With CountOnly the pointers are null and Counted grows in place of Position.
struct PrintWriter {
  CHAR8 *Start;
  CHAR8 *Position;
  CHAR8 *End; ///< The terminator's place, which no text reaches.
  INTN CharacterSize;
  bool CountOnly;
  UINTN Counted;
};

/// A writer in the modes of Flags. Buffer has room for BufferSize characters, at least one, unless
/// the output is only counted.
PrintWriter OpenWriter (CHAR8 *Buffer, UINTN BufferSize, UINTN Flags);

/// Whether all further text would be dropped.
inline bool
IsWriterFull (const PrintWriter &Writer)
{
  return !Writer.CountOnly && Writer.Position >= Writer.End;
}

/// Writes the plain characters at which a format stands and steps over them.
VOID WritePlainCharacters (PrintWriter &Writer, PrintFormat &Format);

/// Writes a text of Length characters, each of CharacterSize bytes.
VOID WriteCharacters (PrintWriter &Writer, const CHAR8 *Text, UINTN Length, INTN CharacterSize);

/// Writes Length digits from LastDigit downward.
VOID WriteDigits (PrintWriter &Writer, const CHAR8 *LastDigit, UINTN Length);

/// Writes Character Length times, at least once.
VOID WriteRepeated (PrintWriter &Writer, INTN Length, CHAR16 Character);

/// The same; a Length of 0 or less is nothing.
inline VOID
WriteFill (PrintWriter &Writer, INTN Length, CHAR16 Character)
{
  if (Length > 0) {
    WriteRepeated (Writer, Length, Character);
  }
}

/// Puts the NUL behind the text. Returns the number of characters written, or counted.
UINTN CloseWriter (const PrintWriter &Writer);
