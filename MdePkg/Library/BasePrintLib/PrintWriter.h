/// The writer: alone touches the output buffer and knows its end.
#pragma once

#include "PrintLibInternal.h"

/// Where output goes: to Start, up to Limit characters, or nowhere if that is null.
struct PrintWriter {
  CHAR8 *Start;
  UINTN Count; ///< Characters so far.
  UINTN Limit;
  INTN CharacterSize;
};

/// A writer in the modes of Flags. Buffer has room for BufferSize characters, at least one, of
/// which the last is the NUL's; output that is only counted has no limit.
PrintWriter OpenWriter (CHAR8 *Buffer, UINTN BufferSize, UINTN Flags);

/// Whether all further text would be dropped.
inline bool
IsWriterFull (const PrintWriter &Writer)
{
  return Writer.Count >= Writer.Limit;
}

/// Writes one character.
inline VOID
WriteCharacter (PrintWriter &Writer, CHAR16 Character)
{
  if (IsWriterFull (Writer)) {
    return;
  }
  if (Writer.Start != nullptr && Writer.CharacterSize == 1) {
    Writer.Start[Writer.Count] = static_cast<CHAR8> (Character);
  } else if (Writer.Start != nullptr) {
    Writer.Start[2 * Writer.Count] = static_cast<CHAR8> (Character);
    Writer.Start[2 * Writer.Count + 1] = static_cast<CHAR8> (Character >> 8);
  }
  ++Writer.Count;
}

/// Writes Character Length times; a Length of 0 or less is nothing.
VOID WriteFill (PrintWriter &Writer, INTN Length, CHAR16 Character);

/// Writes Length characters from Text on, or fewer if it has a NUL by then or, with ARGUMENT_FORMAT
/// in Flags, what means something else than itself in a format. They have 16 bits with
/// ARGUMENT_UNICODE, and stand backward, from Text downward, with ARGUMENT_REVERSED.
/// Returns the place behind the last one. Each is read when its turn comes, so that a text may lie
/// in the output.
const CHAR8 *WriteCharacters (PrintWriter &Writer, const CHAR8 *Text, UINTN Length, UINTN Flags);

/// Puts the NUL behind the text. Returns the number of characters written, or counted.
UINTN CloseWriter (const PrintWriter &Writer);
