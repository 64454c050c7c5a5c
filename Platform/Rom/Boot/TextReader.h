/// Reads words and numbers off a line of text.
#pragma once

#include "Base.h"

/// What is left of a line. It ends at a NUL or a line feed, which is never passed.
struct TextReader {
  const CHAR8 *Next;
};

extern "C" {

/// Skips blanks. Returns whether the line ends there.
bool TextEnds (TextReader &Text);

/// Takes the next word, up to a blank or the end, if it has fewer than Size characters. Puts a NUL
/// behind it.
bool ReadWord (TextReader &Text, CHAR8 *Word, UINTN Size);

/// Takes the next word as a number without a sign to that base, at most Maximum.
bool ReadNumber (TextReader &Text, UINTN Base, UINT64 Maximum, UINT64 &Number);

/// Compares two texts that end with a NUL.
bool IsSameWord (const CHAR8 *Left, const CHAR8 *Right);
}
