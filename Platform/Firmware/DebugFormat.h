/// Expands the formats of debug messages.
#pragma once

#include "Base.h"

extern "C" {

/// Writes Format with its arguments to Buffer, cut to Size - 1 characters, and a NUL. Knows d, u,
/// x, X, p, a, s, c, r, g and %% with the flags 0 - + blank l, width and precision; line ends stay
/// as they are. Both x and X give upper-case digits, and X fills its width with zeros. A null
/// string is
/// "<null string>". r gives a status as words (UEFI 2.10, appendix D). Any other conversion is a
/// fault. Returns the number of characters without the NUL. Size is not 0.
UINTN DebugFormat (CHAR8 *Buffer, UINTN Size, const CHAR8 *Format, VA_LIST Args);
}
