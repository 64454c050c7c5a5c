/// The writer: alone touches the output buffer and knows its end.
#pragma once

#include "PrintLibInternal.h"

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
bool IsWriterFull (const PrintWriter &Writer);

/// Writes one character.
inline VOID
WriteCharacter (PrintWriter &Writer, CHAR16 Character)
{
  if (Writer.CountOnly) {
    ++Writer.Counted;
  } else if (Writer.Position < Writer.End) {
    Writer.Position[0] = static_cast<CHAR8> (Character);
    if (Writer.CharacterSize != 1) {
      Writer.Position[1] = static_cast<CHAR8> (Character >> 8);
    }
    Writer.Position += Writer.CharacterSize;
  }
}

/// Writes Character Length times; a Length of 0 or less is nothing.
VOID WriteFill (PrintWriter &Writer, INTN Length, CHAR16 Character);

/// Writes Length characters from Text on, or fewer if it has a NUL by then. They have 16 bits with
/// ARGUMENT_UNICODE in Flags, and stand backward, from Text downward, with ARGUMENT_REVERSED.
/// Returns the place behind the last one. Each is read when its turn comes, so that a text may lie
/// in the output.
const CHAR8 *WriteCharacters (PrintWriter &Writer, const CHAR8 *Text, UINTN Length, UINTN Flags);

/// Puts the NUL behind the text. Returns the number of characters written, or counted.
UINTN CloseWriter (const PrintWriter &Writer);
