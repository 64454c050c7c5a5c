#include "PrintLib.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "ModuleTestBench.h"
#include "PrintLibInternal.h"
#include "Uefi/Time.h"

namespace {

using BasePrintLib = ModuleTestBench;

constexpr CHAR8 GuardByte = 0x5A;
constexpr size_t GuardSize = 16;

/// An argument in its slot.
template <typename Type>
UINT64
Slot (Type Value)
{
  if constexpr (std::is_pointer_v<Type>) {
    return reinterpret_cast<UINT64> (Value);
  } else {
    return static_cast<UINT64> (Value);
  }
}

/// Text as characters of the width that a mode asks for, with its NUL.
std::string
Encode (const std::u16string &Text, bool IsUnicode)
{
  std::string Bytes;
  for (const char16_t Character : Text + u'\0') {
    Bytes += static_cast<char> (Character);
    if (IsUnicode) {
      Bytes += static_cast<char> (Character >> 8);
    }
  }
  return Bytes;
}

/// Prints into a buffer of Size characters in the modes of Flags. The text has to be as much of
/// Expected as fits, with a NUL behind it, and no other byte may change.
void
ExpectPrint (UINTN Flags,
             UINTN Size,
             const std::u16string &Format,
             const std::vector<UINT64> &Slots,
             const std::u16string &Expected)
{
  const std::string FormatBytes = Encode (Format, (Flags & FORMAT_UNICODE) != 0);
  const auto Marker = reinterpret_cast<CHAR8 *> (const_cast<UINT64 *> (Slots.data ()));
  const size_t Bytes = Size * ((Flags & OUTPUT_UNICODE) != 0 ? 2 : 1);
  const UINTN Length = Size == 0 ? 0 : std::min<UINTN> (Size - 1, Expected.size ());
  std::string Text = Encode (Expected.substr (0, Length), (Flags & OUTPUT_UNICODE) != 0);
  Text.resize (Bytes, GuardByte);

  // The sanitizer guards the one buffer, which is allocated at its exact size.
  const auto Exact = std::make_unique<CHAR8[]> (Bytes);
  std::fill_n (Exact.get (), Bytes, GuardByte);
  EXPECT_EQ (BasePrintLibSPrintMarker (Exact.get (), Size, Flags, FormatBytes.data (), Marker),
             Length);
  EXPECT_EQ (std::string (Exact.get (), Bytes), Text);

  std::string Guarded (GuardSize + Bytes + GuardSize, GuardByte);
  CHAR8 *Buffer = Guarded.data () + GuardSize;
  EXPECT_EQ (BasePrintLibSPrintMarker (Buffer, Size, Flags, FormatBytes.data (), Marker), Length);
  const std::string Guard (GuardSize, GuardByte);
  EXPECT_EQ (Guarded, Guard + Text + Guard);

  const UINTN CountFlags = Flags | COUNT_ONLY_NO_PRINT;
  for (CHAR8 *Unused : {Buffer, static_cast<CHAR8 *> (nullptr)}) {
    EXPECT_EQ (BasePrintLibSPrintMarker (Unused, Size, CountFlags, FormatBytes.data (), Marker),
               Expected.size ());
  }
  EXPECT_EQ (Guarded, Guard + Text + Guard);
}

/// The same in every mode and at every size, from none to more than needed.
void
ExpectPrints (const std::u16string &Format,
              const std::vector<UINT64> &Slots,
              const std::u16string &Expected)
{
  for (const UINTN Flags :
       {UINTN{0}, OUTPUT_UNICODE, FORMAT_UNICODE, OUTPUT_UNICODE | FORMAT_UNICODE}) {
    for (UINTN Size = 0; Size <= Expected.size () + 2; ++Size) {
      SCOPED_TRACE (testing::Message () << "flags " << Flags << " size " << Size);
      ExpectPrint (Flags, Size, Format, Slots, Expected);
    }
  }
}

const EFI_GUID Guid = {
    0x7739F24C, 0x93D7, 0x11D4, {0x9A, 0x3A, 0x00, 0x90, 0x27, 0x3F, 0xC1, 0x4D}};
const EFI_TIME Time = {2026, 11, 19, 2, 5, 0, 0, 0, 0, 0, 0};

constexpr const CHAR8 *Hello = "hello";
constexpr const CHAR16 *WideHello = u"h\u00E9llo";

struct PrintRow {
  std::u16string Format;
  std::vector<UINT64> Slots;
  std::u16string Expected;
};

void
ExpectRows (const std::vector<PrintRow> &Rows)
{
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Encode (Row.Format, false));
    ExpectPrints (Row.Format, Row.Slots, Row.Expected);
  }
}

TEST (Print, FormatsNumbersAndCutsThemAtEverySize)
{
  ExpectRows ({
      {u"%05d", {Slot (-42)}, u"-0042"},
      {u"%+ d|% +d|% d", {5, 5, 5}, u"+5|+5| 5"},
      {u"%.3d", {Slot (-5)}, u"-005"},
      {u"%5.3d|%05.3d", {5, 5}, u"  005|  005"},
      {u"%.0d|%+.0d|%.d|%.*d|%3.0d", {0, 0, 0, 0, 0, 0}, u"|+|0||   "},
      {u"%,d|%,.5d|%,08d|%-,7d|", {1234567, 12, 1234, 1234}, u"1,234,567|12|   1,234|1,234  |"},
      {u"%,d|%+,d|%,d", {999, 1000, Slot (-100000)}, u"999|+1,000|-100,000"},
      {u"%,lu", {~0ULL}, u"18,446,744,073,709,551,615"},
      {u"%d", {0x123456789}, u"591751049"},
      {u"%ld|%Ld",
       {Slot (INT64_MIN), Slot (INT64_MAX)},
       u"-9223372036854775808|9223372036854775807"},
      {u"%d", {0x80000000}, u"-2147483648"},
      {u"%u|%+u|% u|%lu", {~0ULL, 5, 5, ~0ULL}, u"4294967295|5| 5|18446744073709551615"},
      {u"%x|%lx|%8x|%8X|%-8X|",
       {~0ULL, 0xabcdef0123456789, 255, 255, 255},
       u"FFFFFFFF|ABCDEF0123456789|      FF|000000FF|FF      |"},
      {u"%+x|%,x|%08x", {255, 0x123456, 255}, u"+FF|123456|000000FF"},
      {u"%20p|%+p|%.4p|% 3p", {0x1234, 1, 1, 1}, u"00000000000000001234|1|0001|001"},
      {u"%*.*d|%*d|%*d|", {8, 4, 42, Slot (-8), 7, 3, 7}, u"    0042|7|  7|"},
      {u"%.*d|%+.*d|%.*a", {~0ULL, 7, ~0ULL, 7, ~0ULL, Slot (Hello)}, u"7|+7|hello"},
      {u"%l5d|%5ld|%L5d|%-05d|%0-5d|", {42, 42, 42, 42, 42}, u"   42|   42|   42|42   |42   |"},
  });
}

TEST (Print, FormatsTextsAndCutsThemAtEverySize)
{
  const UINT64 Error = EfiErrorCode (0);
  ExpectRows ({
      {u"%.8a|%10.3a|%-7a|%08a",
       {Slot (Hello), Slot (Hello), Slot (Hello), Slot (Hello)},
       u"   hello|       hel|hello  |   hello"},
      {u"%.a|%.0a|%a|%6.a|%.a",
       {Slot (Hello), Slot (Hello), Slot (""), Slot (Hello), Slot ("")},
       u"h|||     h| "},
      {u"% a|%la|%+,a", {Slot (Hello), Slot (Hello), Slot (Hello)}, u"hello|hello|hello"},
      {u"%s|%S|%.2s|%8s",
       {Slot (WideHello), Slot (WideHello), Slot (WideHello), Slot (WideHello)},
       u"h\u00E9llo|h\u00E9llo|h\u00E9|   h\u00E9llo"},
      {u"%a|%s|%.3S|%g|%t",
       {0, 0, 0, 0, 0},
       u"<null string>|<null string>|<nu|<null guid>|<null time>"},
      {u"%a", {Slot ("\xE9")}, u"\u00E9"},
      {u"%c|%c|%.0c|%08c|%+c|%.2c", {0, 0x4142, 'A', 'A', 'A', 'A'}, u" |\u4142||       A|A| A"},
      {u"%g|%.4g|%40g",
       {Slot (&Guid), Slot (&Guid), Slot (&Guid)},
       u"7739F24C-93D7-11D4-9A3A-0090273FC14D|7739|    7739F24C-93D7-11D4-9A3A-0090273FC14D"},
      {u"%t", {Slot (&Time)}, u"11/19/2026  02:05"},
      // Status codes: both ends of both tables, and what lies beyond.
      {u"%r|%r|%r", {0, 5, 6}, u"Success|Warning Stale Data|00000006"},
      {u"%r|%r|%r|%r",
       {Error, Error + 1, Error + 33, Error + 34},
       u"00000000|Load Error|Compromised Data|00000022"},
      {u"%r|%r", {0x100000006, 0x100000000}, u"00000006|00000000"},
      {u"%.3r|%30r|", {0, Error + 14}, u"Suc|                     Not Found|"},
      // Characters that stand for themselves, and ends of lines.
      {u"%%|%5%|%y|%5y|%-5y|%.3y|%.0y", {}, u"%|    %|y|    y|y    |  y|"},
      {u"\u00E9|%\u00FF", {}, u"\u00E9|\u00FF"},
      {u"a\nb\n\rc\r\nd\re\n\r\n", {}, u"a\r\nb\r\nc\r\nd\re\r\n\r\n"},
      {u"%5\nb|%5\n\rb|%-4\r|%3\r\n|%.1\n|%.0\n", {}, u"   \r\nb|   \r\nb|\r   | \r\n|\r|"},
      // Formats that end within a directive.
      {u"%5", {}, u"     "},
      {u"%-*", {4}, u"    "},
      {u"%.5", {}, u""},
      {u"%", {}, u""},
  });
}

TEST (Print, TellsSixteenBitCharactersFromTheirLowBytes)
{
  // U+0125, U+010A and U+0135 end in the bytes of "%", LF and "5".
  for (const UINTN Flags : {FORMAT_UNICODE, FORMAT_UNICODE | OUTPUT_UNICODE}) {
    ExpectPrint (Flags, 20, u"\u0125d\u010A%\u0135d%d", {7}, u"\u0125d\u010A\u0135d7");
  }
}

TEST (Print, ReadsFormatsAndArgumentsAtAnyAddress)
{
  const std::string Format = "?" + Encode (u"%s %g", true);
  const std::string Wide = "?" + Encode (u"wide", true);
  const std::string OddGuid = "?" + std::string (reinterpret_cast<const char *> (&Guid), 16);
  const UINT64 Slots[] = {Slot (Wide.data () + 1), Slot (OddGuid.data () + 1)};
  CHAR8 Buffer[64];
  BasePrintLibSPrintMarker (Buffer, sizeof Buffer, FORMAT_UNICODE, Format.data () + 1,
                            reinterpret_cast<CHAR8 *> (const_cast<UINT64 *> (Slots)));
  EXPECT_STREQ (Buffer, "wide 7739F24C-93D7-11D4-9A3A-0090273FC14D");
}

TEST (Print, ReadsNoFurtherThanItHasTo)
{
  // The sanitizer sees a read behind these texts, which have no NUL.
  const auto Narrow = std::make_unique<CHAR8[]> (2);
  const auto Wide = std::make_unique<CHAR16[]> (2);
  Narrow[0] = Narrow[1] = 'n';
  Wide[0] = Wide[1] = 'w';
  CHAR8 Buffer[6];
  EXPECT_EQ (AsciiSPrint (Buffer, 6, "%.2a%.*s", Narrow.get (), UINT64{2}, Wide.get ()), 4U);
  EXPECT_STREQ (Buffer, "nnww");

  // With the buffer full no further argument is looked at.
  EXPECT_EQ (AsciiSPrint (Buffer, 6, "hello%a", reinterpret_cast<const CHAR8 *> (1)), 5U);
  EXPECT_STREQ (Buffer, "hello");
}

TEST (Print, TakesHugeWidthsInItsStride)
{
  const UINT64 Huge = INT64_MAX;
  CHAR8 Buffer[4];
  EXPECT_EQ (AsciiSPrint (Buffer, 4, "%*dx", Huge, 7), 3U);
  EXPECT_EQ (AsciiSPrint (Buffer, 4, "%.*d", Huge, 7), 3U);
  EXPECT_STREQ (Buffer, "000");
  EXPECT_EQ (BasePrintLibSPrint (nullptr, 0, COUNT_ONLY_NO_PRINT, "%*dx", Huge, 7), Huge + 1);
}

TEST (AsciiSPrint, TakesItsArgumentsInOrder)
{
  CHAR8 Buffer[64];
  const UINTN Length = AsciiSPrint (Buffer, sizeof Buffer, "S%d C%d T%d %a %s %c%lx %r\n", 1, 12,
                                    -3, "narrow", u"wide", 'c', 0x123456789ULL, EFI_NOT_FOUND);
  EXPECT_STREQ (Buffer, "S1 C12 T-3 narrow wide c123456789 Not Found\r\n");
  EXPECT_EQ (Length, strlen (Buffer));
}

TEST_F (BasePrintLib, AssertsItsPreconditionsInOrder)
{
  constexpr UINTN Limit = 100000000;
  const std::string Module = "MdePkg/Library/BasePrintLib/PrintLibInternal:";
  const std::string Long (Limit + 1, 'x');
  const std::u16string WideLong (Limit + 1, u'x');
  const auto *WideFormat = reinterpret_cast<const CHAR8 *> (WideLong.data ());
  CHAR8 Buffer[4] = "...";
  const struct {
    const char *Name;
    CHAR8 *Buffer;
    UINTN BufferSize;
    UINTN Flags;
    const CHAR8 *Format;
    std::string Assertion;
    UINTN Result = 0;
  } Rows[] = {
      {"no buffer", nullptr, 1, 0, nullptr, "587 (Buffer != ((void *) 0))"},
      {"no format", Buffer, 1, 0, nullptr, "595 (Format != ((void *) 0))"},
      {"no format to count", nullptr, 0, COUNT_ONLY_NO_PRINT, nullptr,
       "595 (Format != ((void *) 0))"},
      {"wide buffer", Buffer, Limit + 1, OUTPUT_UNICODE, WideFormat,
       "604 (BufferSize <= (_gPcd_FixedAtBuild_PcdMaximumUnicodeStringLength))"},
      {"buffer", Buffer, Limit + 1, 0, Long.data (),
       "610 (BufferSize <= (_gPcd_FixedAtBuild_PcdMaximumAsciiStringLength))"},
      {"wide format", Buffer, 2, FORMAT_UNICODE, WideFormat,
       "622 (StrnLenS ((CHAR16 *)Format, (_gPcd_FixedAtBuild_PcdMaximumUnicodeStringLength) + 1) "
       "<= "
       "(_gPcd_FixedAtBuild_PcdMaximumUnicodeStringLength))"},
      {"format, even without a buffer", nullptr, 0, 0, Long.data (),
       "629 (AsciiStrnLenS (Format, (_gPcd_FixedAtBuild_PcdMaximumAsciiStringLength) + 1) <= "
       "(_gPcd_FixedAtBuild_PcdMaximumAsciiStringLength))"},
      {"nothing to do", nullptr, 0, 0, nullptr, ""},
      {"count without a buffer", nullptr, 9, COUNT_ONLY_NO_PRINT, "abc", "", 3},
      {"longest format", nullptr, 0, COUNT_ONLY_NO_PRINT, Long.data () + 1, "", Limit},
      {"longest wide format", nullptr, 0, COUNT_ONLY_NO_PRINT | FORMAT_UNICODE, WideFormat + 2, "",
       Limit},
      {"longest buffer", nullptr, Limit, COUNT_ONLY_NO_PRINT | OUTPUT_UNICODE, "", ""},
  };
  for (const bool IsServicePresent : {false, true}) {
    if (IsServicePresent) {
      InstallDebugService ();
    }
    for (const auto &Row : Rows) {
      SCOPED_TRACE (Row.Name);
      UINTN Result = 0;
      const std::string Assertion = StoppedAt (
          [&] { Result = BasePrintLibSPrint (Row.Buffer, Row.BufferSize, Row.Flags, Row.Format); });
      EXPECT_EQ (Assertion,
                 IsServicePresent && !Row.Assertion.empty () ? Module + Row.Assertion : "");
      EXPECT_EQ (Result, Row.Result);
      EXPECT_STREQ (Buffer, "...");
    }
  }
}

TEST (BasePrintLibFillBuffer, WritesInStepsUpToTheEnd)
{
  const struct {
    INTN Length;
    size_t End;
    INTN Increment;
    std::string Expected;
  } Rows[] = {
      {3, 6, 1, "bbb..."},  {9, 4, 1, "bbbb.."}, {0, 6, 1, "......"},
      {-1, 6, 1, "......"}, {2, 6, 2, "baba.."}, {9, 4, 2, "baba.."},
  };
  for (const auto &Row : Rows) {
    std::string Buffer (6, '.');
    const CHAR8 *End = BasePrintLibFillBuffer (Buffer.data (), Buffer.data () + Row.End, Row.Length,
                                               0x6162, Row.Increment);
    EXPECT_EQ (Buffer, Row.Expected);
    EXPECT_EQ (End - Buffer.data (), static_cast<long> (Row.Expected.find ('.')));
  }
}

TEST (BasePrintLibValueToString, WritesDigitsFromTheLeastSignificantOn)
{
  const struct {
    UINT64 Value;
    UINT32 Radix;
    std::string Backward;
  } Rows[] = {
      {0, 10, "0"}, {10, 10, "01"},     {~0ULL, 10, "51615590737044764481"},
      {0, 16, "0"}, {0xABC, 16, "CBA"}, {6, 2, "011"},
  };
  for (const auto &Row : Rows) {
    CHAR8 Buffer[MAXIMUM_VALUE_CHARACTERS];
    const CHAR8 *Last = BasePrintLibValueToString (Buffer, Row.Value, Row.Radix);
    EXPECT_EQ (Buffer[0], '\0');
    EXPECT_EQ (std::string (Buffer + 1, static_cast<size_t> (Last - Buffer)), Row.Backward);
  }
}

} // namespace
