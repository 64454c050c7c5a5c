#include "PrintLib.h"

#include <cstring>

#include "ModuleTestBench.h"
#include "PrintFuzzer.h"
#include "PrintLibInternal.h"
#include "Uefi/Time.h"

namespace {

using BasePrintLib = ModuleTestBench;

constexpr UINTN Error = EfiErrorCode (0);
const EFI_GUID Guid = {
    0x7739F24C, 0x93D7, 0x11D4, {0x9A, 0x3A, 0x00, 0x90, 0x27, 0x3F, 0xC1, 0x4D}};
const EFI_TIME Time = {2026, 11, 19, 2, 5, 0, 0, 0, 0, 0, 0};

/// What a format prints with its arguments, and the length that the engine reports when it prints
/// and when it only counts.
template <typename... Types>
std::string
Printed (const char *Format, Types... Arguments)
{
  CHAR8 Buffer[200];
  const UINTN Length = AsciiSPrint (Buffer, sizeof Buffer, Format, Arguments...);
  EXPECT_EQ (BasePrintLibSPrint (nullptr, 0, COUNT_ONLY_NO_PRINT, Format, Arguments...), Length);
  EXPECT_EQ (Buffer[Length], '\0');
  return {Buffer, Length};
}

TEST (Print, FormatsNumbers)
{
  EXPECT_EQ (Printed ("%05d|%+ d|% +d|% d|%.3d", -42, 5, 5, 5, -5), "-0042|+5|+5| 5|-005");
  EXPECT_EQ (Printed ("%5.3d|%05.3d|%-05d|%0-5d|", 5, 5, 42, 42), "  005|  005|42   |42   |");
  EXPECT_EQ (Printed ("%.0d|%+.0d|%.d|%.*d|%3.0d", 0, 0, 0, 0ULL, 0, 0), "|+|0||   ");
  EXPECT_EQ (Printed ("%,lu|%+,d|%,.5d|%,08d", ~0ULL, 1000, 12, 1234),
             "18,446,744,073,709,551,615|+1,000|12|   1,234");
  EXPECT_EQ (Printed ("%d|%ld|%Ld|%d", 0x123456789ULL, INT64_MIN, INT64_MAX, INT32_MIN),
             "591751049|-9223372036854775808|9223372036854775807|-2147483648");
  EXPECT_EQ (Printed ("%u|%+u|% u|%lu", ~0ULL, 5, 5, ~0ULL),
             "4294967295|5| 5|18446744073709551615");
  EXPECT_EQ (Printed ("%+x|%,lx|%8x|%8X|%8p|%+p", ~0ULL, 0xABCDEF012ULL, 255, 255, 0x1234ULL, 1ULL),
             "+FFFFFFFF|ABCDEF012|      FF|000000FF|00001234|1");
  EXPECT_EQ (Printed ("%*.*d|%*d|%*d|%+.*d", 8ULL, 4ULL, 42, ~7ULL, 7, 3ULL, 7, ~0ULL, 7),
             "    0042|7|  7|+7");
}

TEST (Print, FormatsTexts)
{
  const auto *Hello = "hello";
  EXPECT_EQ (Printed ("%.8a|%10.3a|%-7a|%08a|%.a|", Hello, Hello, Hello, Hello, Hello),
             "   hello|       hel|hello  |   hello|h|");
  EXPECT_EQ (Printed ("%.0a|%.a|% a|%S|%.2s|%8s", Hello, "", Hello, u"hi", u"hi", u"hi"),
             "| |hello|hi|hi|      hi");
  EXPECT_EQ (Printed ("%a|%s|%.3S|%g|%t", nullptr, nullptr, nullptr, nullptr, nullptr),
             "<null string>|<null string>|<nu|<null guid>|<null time>");
  UINT8 OddGuid[17];
  std::memcpy (OddGuid + 1, &Guid, sizeof Guid);
  EXPECT_EQ (Printed ("%g|%.4g|%t", OddGuid + 1, &Guid, &Time),
             "7739F24C-93D7-11D4-9A3A-0090273FC14D|7739|11/19/2026  02:05");
  EXPECT_EQ (Printed ("%r|%r|%r|%r|%.3r", 6ULL, Error, Error + 34, 1ULL << 32, 0ULL),
             "00000006|00000000|00000022|00000000|Suc");
  EXPECT_EQ (Printed ("%%|%5%|%-5y|%.3y|%c|%3\n\rb|%3\r", 0x4142),
             "%|    %|y    |  y|B| \r\nb|  \r");
  EXPECT_EQ (Printed ("a\nb\n\rc\r\nd\re\n\r\n"), "a\r\nb\r\nc\r\nd\re\r\n\r\n");
  EXPECT_EQ (Printed ("%5") + Printed ("%-*", 4ULL) + Printed ("%.5") + Printed ("%"), "         ");
}

TEST (Print, AgreesWithTheModelOnRandomFormats)
{
  EXPECT_EQ (FuzzPrint (1, 60000), "");
}

TEST (Print, LooksAtNoArgumentForWhichThereIsNoRoom)
{
  CHAR8 Buffer[4];
  EXPECT_EQ (AsciiSPrint (Buffer, 4, "abc%a", reinterpret_cast<const CHAR8 *> (1)), 3U);
}

TEST (Print, MakesDigitsOfAnyRadix)
{
  CHAR8 Buffer[4];
  EXPECT_EQ (BasePrintLibValueToString (Buffer, 6, 2), Buffer + 3);
  EXPECT_EQ (std::string (Buffer, 4), std::string ("\0", 1) + "011");
}

TEST_F (BasePrintLib, AssertsItsPreconditionsInOrder)
{
  constexpr UINTN Limit = 100000000;
  constexpr UINTN Count = COUNT_ONLY_NO_PRINT;
  const std::string Source = "MdePkg/Library/BasePrintLib/PrintLibInternal:";
  const std::string Wide = "(_gPcd_FixedAtBuild_PcdMaximumUnicodeStringLength)";
  const std::string Ascii = "(_gPcd_FixedAtBuild_PcdMaximumAsciiStringLength)";
  const std::string Long (Limit + 1, 'x');
  const std::u16string LongText (Limit + 1, u'x');
  const auto *WideLong = reinterpret_cast<const CHAR8 *> (LongText.data ());
  CHAR8 Buffer[4] = "...";
  const struct {
    CHAR8 *Buffer;
    UINTN BufferSize;
    UINTN Flags;
    const CHAR8 *Format;
    std::string Assertion;
    UINTN Result = 0;
  } Rows[] = {
      {nullptr, 1, 0, nullptr, "587 (Buffer != ((void *) 0))"},
      {Buffer, 1, 0, nullptr, "595 (Format != ((void *) 0))"},
      {nullptr, 0, Count, nullptr, "595 (Format != ((void *) 0))"},
      {Buffer, Limit + 1, OUTPUT_UNICODE, WideLong, "604 (BufferSize <= " + Wide + ")"},
      {Buffer, Limit + 1, 0, Long.data (), "610 (BufferSize <= " + Ascii + ")"},
      {Buffer, 2, FORMAT_UNICODE, WideLong,
       "622 (StrnLenS ((CHAR16 *)Format, " + Wide + " + 1) <= " + Wide + ")"},
      {nullptr, 0, 0, Long.data (),
       "629 (AsciiStrnLenS (Format, " + Ascii + " + 1) <= " + Ascii + ")"},
      {nullptr, 0, 0, nullptr, ""},
      {nullptr, 9, Count, "abc", "", 3},
      {nullptr, 0, Count, Long.data () + 1, "", Limit},
      {nullptr, Limit, Count | FORMAT_UNICODE, WideLong + 2, "", Limit},
  };
  for (const bool Stops : {false, true}) {
    for (const auto &Row : Rows) {
      SCOPED_TRACE (&Row - Rows);
      UINTN Result = 0;
      EXPECT_EQ (StoppedAt ([&] {
                   Result = BasePrintLibSPrint (Row.Buffer, Row.BufferSize, Row.Flags, Row.Format);
                 }),
                 Stops && !Row.Assertion.empty () ? Source + Row.Assertion : "");
      EXPECT_EQ (Result, Row.Result);
      EXPECT_STREQ (Buffer, "...");
    }
    InstallDebugService ();
  }
}

} // namespace
