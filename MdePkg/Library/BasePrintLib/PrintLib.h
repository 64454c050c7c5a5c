/// Composes text into a buffer of the caller, with the conversions of this firmware. Uses its own
/// frame only: no heap, no state, no lock.
///
/// A format is text with directives: "%", then in any order flags, a width, "." and a precision,
/// then the type. Outside and inside a directive, LF, LF CR and CR LF all become CR LF.
///
///   -        text stands at the left of its width
///   +        "+" ahead of a number that is not negative
///   blank    a blank in that place, unless there is a "+"
///   ,        a comma ahead of each group of three decimal digits
///   l L      the number has 64 bits
///   0        a number without precision, "-" or "," fills its width with zeros
///   *        the width or precision is the next argument, 64 bits
///   .        what follows is the precision: the fewest digits of a number, the most characters of
///            a text, which stands right-aligned in it; 1 when no number follows
///
///   d u      signed and unsigned decimal, 32 bits
///   x X      hexadecimal in upper case, 32 bits; "X" fills a width with zeros
///   p        as "X" with 64 bits
///   a        pointer to 8-bit text
///   s S      pointer to 16-bit text
///   c        one 16-bit character
///   g        pointer to an EFI_GUID, at any address
///   t        pointer to an EFI_TIME
///   r        EFI_STATUS, in words or as 8 hexadecimal digits
///   others   the character itself; takes no argument
///
/// A null pointer prints as "<null string>", "<null guid>" or "<null time>". A format that ends
/// within a directive prints the blanks of its width and nothing else.
#pragma once

#include "Base.h"

/// Modes of BasePrintLibSPrintMarker.
inline constexpr UINTN OUTPUT_UNICODE = 0x0040;      ///< The buffer holds 16-bit characters.
inline constexpr UINTN FORMAT_UNICODE = 0x0100;      ///< The format has 16-bit characters.
inline constexpr UINTN COUNT_ONLY_NO_PRINT = 0x2000; ///< Nothing is written, only counted.

extern "C" {

/// Composes 8-bit text of at most BufferSize - 1 characters at StartOfBuffer and puts a NUL behind
/// it; the rest is dropped. Returns the number of characters written, without the NUL.
///
/// BufferSize 0 writes nothing and returns 0. A null pointer, or a buffer or format longer than
/// PcdMaximumAsciiStringLength, is an assertion, and if that returns, writes nothing and returns 0.
UINTN EFIAPI AsciiSPrint (CHAR8 *StartOfBuffer, UINTN BufferSize, const CHAR8 *FormatString, ...);

/// The same in the modes that Flags combines, with the arguments as a list, each in a slot of 8
/// bytes.
///
/// BufferSize counts characters of the output; 16-bit characters have the limit
/// PcdMaximumUnicodeStringLength and may stand at any address, but for a 16-bit format, whose
/// alignment is asserted. With COUNT_ONLY_NO_PRINT the result is
/// the number of characters of the whole text, and neither Buffer nor BufferSize bounds it; Buffer
/// may then be null.
UINTN EFIAPI BasePrintLibSPrintMarker (
    CHAR8 *Buffer, UINTN BufferSize, UINTN Flags, const CHAR8 *Format, VA_LIST Marker);
}
