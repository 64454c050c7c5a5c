/// How services tell the things that they know apart: by GUIDs and by names.
#pragma once

#include "Base.h"

inline bool
IsSameGuid (const EFI_GUID &Left, const EFI_GUID &Right)
{
  return __builtin_memcmp (&Left, &Right, sizeof (EFI_GUID)) == 0;
}

/// Both names are UTF-16 with a NUL.
inline bool
IsSameName (const CHAR16 *Left, const CHAR16 *Right)
{
  while (*Left == *Right && *Left != 0) {
    ++Left;
    ++Right;
  }
  return *Left == *Right;
}
