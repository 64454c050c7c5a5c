/// The four functions that a compiler may call for a structure copy or comparison of its own, even
/// where there is no runtime library (C17, 7.24). Nothing in the driver calls them by name.
#include "Base.h"

extern "C" {

VOID *
memcpy (VOID *Destination, const VOID *Source, size_t Length)
{
  auto *To = static_cast<UINT8 *> (Destination);
  const auto *From = static_cast<const UINT8 *> (Source);
  size_t Index = 0;
  for (; Length - Index >= sizeof (UINT64); Index += sizeof (UINT64)) {
    __builtin_memcpy (To + Index, From + Index, sizeof (UINT64));
  }
  for (; Index < Length; ++Index) {
    To[Index] = From[Index];
  }
  return Destination;
}

VOID *
memmove (VOID *Destination, const VOID *Source, size_t Length)
{
  auto *To = static_cast<UINT8 *> (Destination);
  const auto *From = static_cast<const UINT8 *> (Source);
  if (reinterpret_cast<UINTN> (To) <= reinterpret_cast<UINTN> (From)) {
    return memcpy (Destination, Source, Length);
  }
  for (size_t Index = Length; Index != 0; --Index) {
    To[Index - 1] = From[Index - 1];
  }
  return Destination;
}

VOID *
memset (VOID *Destination, int Value, size_t Length)
{
  auto *To = static_cast<UINT8 *> (Destination);
  const UINT64 Pattern = static_cast<UINT8> (Value) * 0x0101010101010101ULL;
  size_t Index = 0;
  for (; Length - Index >= sizeof Pattern; Index += sizeof Pattern) {
    __builtin_memcpy (To + Index, &Pattern, sizeof Pattern);
  }
  for (; Index < Length; ++Index) {
    To[Index] = static_cast<UINT8> (Value);
  }
  return Destination;
}

int
memcmp (const VOID *First, const VOID *Second, size_t Length)
{
  const auto *Left = static_cast<const UINT8 *> (First);
  const auto *Right = static_cast<const UINT8 *> (Second);
  for (size_t Index = 0; Index < Length; ++Index) {
    if (Left[Index] != Right[Index]) {
      return Left[Index] - Right[Index];
    }
  }
  return 0;
}
}
