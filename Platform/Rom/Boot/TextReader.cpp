#include "TextReader.h"

namespace {

/// Room for a number of 64 bits in any base from 10.
constexpr UINTN NumberSize = 24;

bool
IsLineEnd (CHAR8 Character)
{
  return Character == '\0' || Character == '\n';
}

/// Carriage returns of a foreign text file count as blanks.
bool
IsBlank (CHAR8 Character)
{
  return Character == ' ' || Character == '\t' || Character == '\r';
}

/// The digit's value; no base has one as large as that of another character.
UINT64
DigitValue (CHAR8 Character)
{
  if (Character >= '0' && Character <= '9') {
    return static_cast<UINT64> (Character - '0');
  }
  if (Character >= 'a' && Character <= 'f') {
    return static_cast<UINT64> (Character - 'a') + 10;
  }
  if (Character >= 'A' && Character <= 'F') {
    return static_cast<UINT64> (Character - 'A') + 10;
  }
  return 16;
}

} // namespace

bool
TextEnds (TextReader &Text)
{
  while (IsBlank (*Text.Next)) {
    ++Text.Next;
  }
  return IsLineEnd (*Text.Next);
}

bool
ReadWord (TextReader &Text, CHAR8 *Word, UINTN Size)
{
  UINTN Length = 0;
  if (TextEnds (Text)) {
    return false;
  }
  while (!IsLineEnd (*Text.Next) && !IsBlank (*Text.Next)) {
    if (Length + 1 == Size) {
      return false;
    }
    Word[Length++] = *Text.Next++;
  }
  Word[Length] = '\0';
  return true;
}

bool
ReadNumber (TextReader &Text, UINTN Base, UINT64 Maximum, UINT64 &Number)
{
  CHAR8 Word[NumberSize];
  if (!ReadWord (Text, Word, sizeof Word)) {
    return false;
  }
  UINT64 Value = 0;
  for (const CHAR8 *Next = Word; *Next != '\0'; ++Next) {
    const UINT64 Digit = DigitValue (*Next);
    if (Digit >= Base || Value > (Maximum - Digit) / Base || Digit > Maximum) {
      return false;
    }
    Value = Value * Base + Digit;
  }
  Number = Value;
  return true;
}

bool
IsSameWord (const CHAR8 *Left, const CHAR8 *Right)
{
  while (*Left == *Right && *Left != '\0') {
    ++Left;
    ++Right;
  }
  return *Left == *Right;
}
