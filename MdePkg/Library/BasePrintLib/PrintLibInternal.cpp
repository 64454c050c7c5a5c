#include "PrintLibInternal.h"

#include "BaseLib.h"
#include "Pcd.h"
#include "PrintConverter.h"
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

/// Takes the argument that the type asks for and prints it.
VOID
PrintDirectiveArgument (PrintWriter &Writer,
                        PrintDirective &Directive,
                        PrintFormat &Format,
                        VA_LIST &Marker)
{
  switch (Directive.Type) {
  case 'p':
    Directive.Flags &= ~(PREFIX_BLANK | PREFIX_SIGN | PREFIX_ZERO);
    Directive.Flags |= LONG_TYPE;
    [[fallthrough]];
  case 'X':
    Directive.Flags |= PREFIX_ZERO;
    [[fallthrough]];
  case 'x':
    Directive.Flags |= RADIX_HEX;
    ConvertNumber (Writer, Directive, TakeArgument (Marker));
    break;
  case 'u':
    Directive.Flags &= ~PREFIX_SIGN;
    Directive.Flags |= UNSIGNED_TYPE;
    [[fallthrough]];
  case 'd':
    ConvertNumber (Writer, Directive, TakeArgument (Marker));
    break;
  case 's':
  case 'S':
    Directive.Flags |= ARGUMENT_UNICODE;
    [[fallthrough]];
  case 'a':
    ConvertString (Writer, Directive, TakePointer<CHAR8> (Marker));
    break;
  case 'c':
    ConvertCharacter (Writer, Directive, static_cast<CHAR16> (TakeArgument (Marker)));
    break;
  case 'g':
    ConvertGuid (Writer, Directive, TakePointer<EFI_GUID> (Marker));
    break;
  case 't':
    ConvertTime (Writer, Directive, TakePointer<EFI_TIME> (Marker));
    break;
  case 'r':
    ConvertStatus (Writer, Directive, TakeArgument (Marker));
    break;
  case '\n':
  case '\r':
    ConvertLineEnd (Writer, Directive, Directive.Type, Format);
    break;
  default:
    ConvertCharacter (Writer, Directive, Directive.Type);
  }
}

/// Prints a whole format, or as much of it as there is room for.
VOID
PrintAll (PrintWriter &Writer, PrintFormat &Format, VA_LIST &Marker)
{
  while (!IsWriterFull (Writer)) {
    const CHAR16 Character = PeekCharacter (Format);
    switch (Character) {
    case '\0':
      return;
    case '%': {
      SkipCharacter (Format);
      PrintDirective Directive = ParseDirective (Format, Marker);
      PrintDirectiveArgument (Writer, Directive, Format, Marker);
      break;
    }
    case '\n':
    case '\r':
      SkipCharacter (Format);
      ConvertLineEnd (Writer, {}, Character, Format);
      break;
    default:
      WritePlainCharacters (Writer, Format);
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
  PrintFormat Rest = {reinterpret_cast<const UINT8 *> (Format),
                      (Flags & FORMAT_UNICODE) != 0 ? 2 : 1};
  PrintAll (Writer, Rest, Marker);
  if ((Flags & COUNT_ONLY_NO_PRINT) == 0) {
    ASSERT (Writer.Position != nullptr, BufferKept);
  }
  return CloseWriter (Writer);
}
