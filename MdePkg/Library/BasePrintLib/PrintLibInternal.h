/// What the parts of the print engine share: a directive is parsed (PrintDirective.h), its argument
/// made a text (PrintText.h), and the text laid out (PrintLayout.h) through the one writer that
/// knows the buffer's end (PrintWriter.h).
#pragma once

#include "PrintLib.h"

/// Flags of a directive and of its text, beside the modes of the caller.
inline constexpr UINTN LEFT_JUSTIFY = 0x0001;
inline constexpr UINTN PREFIX_SIGN = 0x0002;
inline constexpr UINTN PREFIX_BLANK = 0x0004;
inline constexpr UINTN COMMA_TYPE = 0x0008;
inline constexpr UINTN LONG_TYPE = 0x0010;
inline constexpr UINTN PREFIX_ZERO = 0x0020;
inline constexpr UINTN RADIX_HEX = 0x0080;
inline constexpr UINTN PAD_TO_WIDTH = 0x0200;
inline constexpr UINTN ARGUMENT_UNICODE = 0x0400;
inline constexpr UINTN PRECISION = 0x0800;
inline constexpr UINTN ARGUMENT_REVERSED = 0x1000;
inline constexpr UINTN ARGUMENT_FORMAT = 0x2000;
inline constexpr UINTN UNSIGNED_TYPE = 0x4000;

/// Room for the longest text that a conversion composes: a GUID with its NUL.
inline constexpr UINTN MAXIMUM_VALUE_CHARACTERS = 38;

extern "C" {

/// BasePrintLibSPrintMarker with the arguments given directly: the engine's way back into itself.
UINTN EFIAPI
BasePrintLibSPrint (CHAR8 *Buffer, UINTN BufferSize, UINTN Flags, const CHAR8 *Format, ...);

/// Writes Character Length times from Buffer on, Increment bytes apart: its low byte, and its high
/// byte too unless Increment is 1. Stops at EndBuffer. Returns the place behind the last one
/// written. A Length of 0 or less writes nothing.
CHAR8 *EFIAPI BasePrintLibFillBuffer (
    CHAR8 *Buffer, CHAR8 *EndBuffer, INTN Length, UINTN Character, INTN Increment);

/// Writes a NUL at Buffer[0] and behind it the digits of Value, least significant first: at most 64
/// of them, 20 in decimal. Radix is 2 to 16. Returns the place of the last digit written, from
/// which the number reads backward up to the NUL.
CHAR8 *EFIAPI BasePrintLibValueToString (CHAR8 *Buffer, UINT64 Value, UINT32 Radix);
}
