/// The converters, one for each kind of argument, and the layout that they share.
#pragma once

#include "PrintWriter.h"
#include "Uefi/Time.h"

/// What WriteLeading does when there is something to write.
INTN WriteLeadingPadding (PrintWriter &Writer,
                          const PrintDirective &Directive,
                          UINTN Count,
                          CHAR8 Prefix);

/// Writes what stands ahead of a text of Count characters: blanks up to the width of its directive,
/// then Prefix unless that is NUL (it is one of the Count), then blanks up to the precision, or
/// zeros under ARGUMENT_REVERSED. Returns the blanks that have to follow the text; 0 or less is
/// none.
inline INTN
WriteLeading (PrintWriter &Writer, const PrintDirective &Directive, UINTN Count, CHAR8 Prefix)
{
  if (Directive.Width <= Count && Directive.Precision <= Count && Prefix == '\0') {
    return 0;
  }
  return WriteLeadingPadding (Writer, Directive, Count, Prefix);
}

/// Lays out a text of Length characters, which have 16 bits under ARGUMENT_UNICODE. The precision,
/// if there is one, cuts it.
VOID LayOutText (PrintWriter &Writer,
                 const PrintDirective &Directive,
                 const CHAR8 *Characters,
                 UINTN Length);

/// Lays out a text that ends at its NUL. Reads no further than the precision, if there is one.
VOID ConvertText (PrintWriter &Writer, const PrintDirective &Directive, const CHAR8 *Characters);

/// Types a, s and S: ConvertText, or "<null string>" for null.
VOID ConvertString (PrintWriter &Writer, PrintDirective &Directive, const CHAR8 *String);

/// Type c, and every type that stands for itself. The NUL is an empty text.
VOID ConvertCharacter (PrintWriter &Writer, PrintDirective &Directive, CHAR16 Character);

/// LF and CR, within a directive and outside, when First has been taken: takes the other of the two
/// as well if it follows. Prints CR for a lone CR, and CR LF for all else.
VOID ConvertLineEnd (PrintWriter &Writer,
                     const PrintDirective &Directive,
                     CHAR16 First,
                     PrintFormat &Format);

/// Types d, u, x, X and p, which differ in LONG_TYPE, RADIX_HEX, UNSIGNED_TYPE and PREFIX_ZERO.
VOID ConvertNumber (PrintWriter &Writer, PrintDirective &Directive, UINT64 Argument);

/// Type g. The GUID may stand at any address; null prints as "<null guid>".
VOID ConvertGuid (PrintWriter &Writer, const PrintDirective &Directive, const EFI_GUID *Guid);

/// Type t. Null prints as "<null time>".
VOID ConvertTime (PrintWriter &Writer, const PrintDirective &Directive, const EFI_TIME *Time);

/// Type r. A status without words prints as 8 hexadecimal digits of its low 32 bits.
VOID ConvertStatus (PrintWriter &Writer, const PrintDirective &Directive, EFI_STATUS Status);
