/// The parser: takes directives out of a format.
#pragma once

#include "PrintLibInternal.h"
#include "Unaligned.h"

/// The rest of a format. Its characters are 1 or 2 bytes wide and may stand at any address.
struct PrintFormat {
  const UINT8 *Position;
  INTN CharacterSize;
};

/// The character at which a format stands; NUL at its end.
inline CHAR16
PeekCharacter (const PrintFormat &Format)
{
  return Format.CharacterSize == 1
             ? *Format.Position
             : reinterpret_cast<const Unaligned<CHAR16> *> (Format.Position)->Value;
}

/// Steps over the character at which a format stands, which must not be the NUL.
inline VOID
SkipCharacter (PrintFormat &Format)
{
  Format.Position += Format.CharacterSize;
}

/// Whether a character outside a directive stands for itself and no more.
inline bool
IsPlain (CHAR16 Character)
{
  switch (Character) {
  case '\0':
  case '\n':
  case '\r':
  case '%':
    return false;
  default:
    return true;
  }
}

/// Length of the run of plain characters at which a format stands.
UINTN CountPlainCharacters (const PrintFormat &Format);

/// One directive. The initial values are those of a text outside any directive.
struct PrintDirective {
  UINTN Flags = 0;
  UINTN Width = 0;
  UINTN Precision = 1;
  CHAR16 Type = '\0';
};

/// Parses the directive whose "%" has been taken, and takes the arguments that its "*" ask for. At
/// the end of the format Type is NUL and Precision 0, and the format still stands at its NUL.
PrintDirective ParseDirective (PrintFormat &Format, VA_LIST &Marker);

/// Takes the next argument out of its slot of 8 bytes.
inline UINT64
TakeArgument (VA_LIST &Marker)
{
  return VA_ARG (Marker, UINT64);
}

/// The same for a pointer.
template <typename Type>
inline const Type *
TakePointer (VA_LIST &Marker)
{
  return reinterpret_cast<const Type *> (TakeArgument (Marker));
}
