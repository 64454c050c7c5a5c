/// Expands the formats of debug messages.
#pragma once

#include "Base.h"

extern "C" {

/// Writes Format with its arguments to Buffer, cut to Size - 1 characters, and a NUL; Size is not
/// 0. Returns the number of characters without the NUL.
///
/// Knows d, x, X, a (8-bit string), s (16-bit string, of which the low bytes are written), r
/// (status in words; UEFI 2.10, appendix D) and %%, with a width and the flags "0", "-" and "l".
/// Both x and X give upper-case digits, and X fills its width with zeros. A null string is "<null
/// string>". Line ends stay as they are. Any other conversion is a fault.
UINTN DebugFormat (CHAR8 *Buffer, UINTN Size, const CHAR8 *Format, VA_LIST Args);
}
