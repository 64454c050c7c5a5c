/// The parser: takes directives out of a format.
#pragma once

#include "PrintLibInternal.h"

/// The rest of a format. Its characters are 1 or 2 bytes wide and may stand at any address.
struct PrintFormat {
  const CHAR8 *Position;
  INTN CharacterSize;
};

/// One directive. The initial values are those of a character outside any directive.
struct PrintDirective {
  UINTN Flags = 0;
  UINTN Width = 0;
  UINTN Precision = 1;
  CHAR16 Type = '\0';
};

/// The character of 1 or 2 bytes at any address.
inline CHAR16
ReadCharacter (const CHAR8 *Position, bool IsUnicode)
{
  const auto Low = static_cast<UINT8> (Position[0]);
  return IsUnicode ? static_cast<CHAR16> (Low | static_cast<UINT8> (Position[1]) << 8) : Low;
}

/// The character at which a format stands; NUL at its end.
inline CHAR16
PeekCharacter (const PrintFormat &Format)
{
  return ReadCharacter (Format.Position, Format.CharacterSize != 1);
}

/// The same, and steps over it. It must not be the NUL.
inline CHAR16
TakeCharacter (PrintFormat &Format)
{
  const CHAR16 Character = PeekCharacter (Format);
  Format.Position += Format.CharacterSize;
  return Character;
}

/// Steps over Character, which is not the NUL, if the format stands at it. Tells whether it did.
inline bool
TakeIf (PrintFormat &Format, CHAR16 Character)
{
  if (PeekCharacter (Format) != Character) {
    return false;
  }
  TakeCharacter (Format);
  return true;
}

/// Parses the directive whose "%" has been taken, and takes the arguments that its "*" ask for. At
/// the end of the format Type is NUL and Precision 0, and the format still stands at its NUL.
PrintDirective ParseDirective (PrintFormat &Format, VA_LIST &Marker);
