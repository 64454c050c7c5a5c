/// The converters, one for each kind of argument: each makes it a text and lays that out.
#pragma once

#include "PrintLayout.h"
#include "Uefi/Time.h"

/// A text that ends at its NUL, of 16-bit characters if Flags is ARGUMENT_UNICODE, of 8-bit ones if
/// it is 0. The precision, if there is one, cuts it; nothing behind that is read.
VOID PrintText (PrintWriter &Writer,
                const PrintDirective &Directive,
                const CHAR8 *Characters,
                UINTN Flags);

/// Types a, s and S: PrintText, or "<null string>" for null.
VOID PrintString (PrintWriter &Writer, const PrintDirective &Directive, const CHAR8 *String);

/// Type c, and every character that stands for itself. The NUL is an empty text.
VOID PrintCharacter (PrintWriter &Writer, const PrintDirective &Directive, CHAR16 Character);

/// Types d, u, x, X and p, which differ in LONG_TYPE, RADIX_HEX, UNSIGNED_TYPE and PREFIX_ZERO.
VOID PrintNumber (PrintWriter &Writer, const PrintDirective &Directive, UINT64 Argument);

/// Type g. The GUID may stand at any address; null prints as "<null guid>".
VOID PrintGuid (PrintWriter &Writer, const PrintDirective &Directive, const EFI_GUID *Guid);

/// Type t. Null prints as "<null time>".
VOID PrintTime (PrintWriter &Writer, const PrintDirective &Directive, const EFI_TIME *Time);

/// Type r. A status without words prints as 8 hexadecimal digits of its low 32 bits.
VOID PrintStatus (PrintWriter &Writer, const PrintDirective &Directive, EFI_STATUS Status);
