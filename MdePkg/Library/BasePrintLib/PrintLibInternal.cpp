#include "PrintLibInternal.h"

#include "BaseLib.h"
#include "Pcd.h"
#include "PrintText.h"
#include "SmmDebugServiceLib.h"

namespace {

constexpr CHAR8 SourceFile[] = "MdePkg/Library/BasePrintLib/PrintLibInternal";
constexpr AssertionSite BufferNotNull = {SourceFile, 587, "(Buffer != ((void *) 0))"};
constexpr AssertionSite FormatNotNull = {SourceFile, 595, "(Format != ((void *) 0))"};
constexpr AssertionSite UnicodeBufferWithinLimit = {
    SourceFile, 604, "(BufferSize <= (_gPcd_FixedAtBuild_PcdMaximumUnicodeStringLength))"};
constexpr AssertionSite AsciiBufferWithinLimit = {
    SourceFile, 610, "(BufferSize <= (_gPcd_FixedAtBuild_PcdMaximumAsciiStringLength))"};
constexpr AssertionSite UnicodeFormatWithinLimit = {
    SourceFile, 622,
    "(StrnLenS ((CHAR16 *)Format, (_gPcd_FixedAtBuild_PcdMaximumUnicodeStringLength) + 1) <= "
    "(_gPcd_FixedAtBuild_PcdMaximumUnicodeStringLength))"};
constexpr AssertionSite AsciiFormatWithinLimit = {
    SourceFile, 629,
    "(AsciiStrnLenS (Format, (_gPcd_FixedAtBuild_PcdMaximumAsciiStringLength) + 1) <= "
    "(_gPcd_FixedAtBuild_PcdMaximumAsciiStringLength))"};
constexpr AssertionSite BufferKept = {SourceFile, 1276, "Buffer != ((void *) 0)"};

/// Asserts a precondition. Tells whether it holds, for the case that the assertion returns.
bool
Require (bool Condition, const AssertionSite &Site)
{
  ASSERT (Condition, Site);
  return Condition;
}

bool
IsBufferSizeWithinLimit (UINTN BufferSize, UINTN Flags)
{
  if ((Flags & OUTPUT_UNICODE) != 0) {
    return PcdMaximumUnicodeStringLength == 0 ||
           Require (BufferSize <= PcdMaximumUnicodeStringLength, UnicodeBufferWithinLimit);
  }
  return PcdMaximumAsciiStringLength == 0 ||
         Require (BufferSize <= PcdMaximumAsciiStringLength, AsciiBufferWithinLimit);
}

bool
IsFormatWithinLimit (const CHAR8 *Format, UINTN Flags)
{
  if ((Flags & FORMAT_UNICODE) != 0) {
    return PcdMaximumUnicodeStringLength == 0 ||
           Require (StrnLenS (reinterpret_cast<const CHAR16 *> (Format),
                              PcdMaximumUnicodeStringLength + 1) <= PcdMaximumUnicodeStringLength,
                    UnicodeFormatWithinLimit);
  }
  return PcdMaximumAsciiStringLength == 0 ||
         Require (AsciiStrnLenS (Format, PcdMaximumAsciiStringLength + 1) <=
                      PcdMaximumAsciiStringLength,
                  AsciiFormatWithinLimit);
}

/// The preconditions of a call, in their order.
bool
IsCallValid (const CHAR8 *Buffer, UINTN BufferSize, UINTN Flags, const CHAR8 *Format)
{
  const bool CountOnly = (Flags & COUNT_ONLY_NO_PRINT) != 0;
  if (BufferSize > 0 && !CountOnly && !Require (Buffer != nullptr, BufferNotNull)) {
    return false;
  }
  if ((BufferSize > 0 || CountOnly) && !Require (Format != nullptr, FormatNotNull)) {
    return false;
  }
  return IsBufferSizeWithinLimit (BufferSize, Flags) && IsFormatWithinLimit (Format, Flags);
}

/// Prints the line end whose first character, LF or CR, has been taken, and takes the other of the
/// two as well if it follows. Only a lone CR does not become CR LF.
VOID
PrintLineEnd (PrintWriter &Writer,
              const PrintDirective &Directive,
              CHAR16 First,
              PrintFormat &Format)
{
  const bool IsPair = TakeIf (Format, First == '\n' ? '\r' : '\n');
  const bool IsLoneReturn = First == '\r' && !IsPair;
  PrintText (Writer, Directive, IsLoneReturn ? "\r" : "\r\n", 0);
}

/// Takes the argument that the type asks for and prints it.
VOID
PrintArgument (PrintWriter &Writer,
               const PrintDirective &Directive,
               PrintFormat &Format,
               VA_LIST &Marker)
{
  switch (Directive.Type) {
  case 'd':
  case 'u':
  case 'x':
  case 'X':
  case 'p':
    PrintNumber (Writer, Directive, VA_ARG (Marker, UINT64));
    break;
  case 'a':
  case 's':
  case 'S':
    PrintString (Writer, Directive, VA_ARG (Marker, const CHAR8 *));
    break;
  case 'c':
    PrintCharacter (Writer, Directive, static_cast<CHAR16> (VA_ARG (Marker, UINT64)));
    break;
  case 'g':
    PrintGuid (Writer, Directive, VA_ARG (Marker, const EFI_GUID *));
    break;
  case 't':
    PrintTime (Writer, Directive, VA_ARG (Marker, const EFI_TIME *));
    break;
  case 'r':
    PrintStatus (Writer, Directive, VA_ARG (Marker, EFI_STATUS));
    break;
  case '\n':
  case '\r':
    PrintLineEnd (Writer, Directive, Directive.Type, Format);
    break;
  default:
    PrintCharacter (Writer, Directive, Directive.Type);
  }
}

/// Prints a whole format, or as much of it as there is room for.
VOID
PrintAll (PrintWriter &Writer, PrintFormat &Format, VA_LIST &Marker)
{
  for (;;) {
    Format.Position =
        WriteCharacters (Writer, Format.Position, ~UINTN{0},
                         ARGUMENT_FORMAT | (Format.CharacterSize == 1 ? 0 : ARGUMENT_UNICODE));
    if (IsWriterFull (Writer) || PeekCharacter (Format) == '\0') {
      return;
    }
    const CHAR16 Character = TakeCharacter (Format);
    if (Character == '%') {
      PrintArgument (Writer, ParseDirective (Format, Marker), Format, Marker);
    } else {
      PrintLineEnd (Writer, {}, Character, Format);
    }
  }
}

} // namespace

UINTN EFIAPI
BasePrintLibSPrint (CHAR8 *Buffer, UINTN BufferSize, UINTN Flags, const CHAR8 *Format, ...)
{
  VA_LIST Marker;
  VA_START (Marker, Format);
  const UINTN Length = BasePrintLibSPrintMarker (Buffer, BufferSize, Flags, Format, Marker);
  VA_END (Marker);
  return Length;
}

UINTN EFIAPI
BasePrintLibSPrintMarker (
    CHAR8 *Buffer, UINTN BufferSize, UINTN Flags, const CHAR8 *Format, VA_LIST Marker)
{
  if (!IsCallValid (Buffer, BufferSize, Flags, Format)) {
    return 0;
  }
  if (BufferSize == 0 && (Flags & COUNT_ONLY_NO_PRINT) == 0) {
    return 0;
  }

  PrintWriter Writer = OpenWriter (Buffer, BufferSize, Flags);
  PrintFormat Rest = {Format, (Flags & FORMAT_UNICODE) != 0 ? 2 : 1};
  PrintAll (Writer, Rest, Marker);
  if ((Flags & COUNT_ONLY_NO_PRINT) == 0) {
    ASSERT (Writer.Start != nullptr, BufferKept);
  }
  return CloseWriter (Writer);
}
