#include "PrintLib.h"

#include <algorithm>
#include <concepts>
#include <cstdio>
#include <cstring>
#include <vector>

#include "ModuleTestBench.h"
#include "PrintLibInternal.h"
#include "Uefi/Time.h"

namespace {

using namespace std::string_literals;
using BasePrintLib = ModuleTestBench;

const EFI_GUID Guid = {
    0x7739F24C, 0x93D7, 0x11D4, {0x9A, 0x3A, 0x00, 0x90, 0x27, 0x3F, 0xC1, 0x4D}};
const EFI_TIME Time = {2026, 11, 19, 2, 5, 0, 0, 0, 0, 0, 0};
constexpr CHAR8 Cut[] = {'h', 'e', 'l'};
constexpr CHAR16 WideCut[] = {u'h', u'\u4100', u'\uFFFF'};

struct Argument {
  Argument () = default;
  Argument (std::integral auto Number) : Slot (static_cast<UINT64> (Number)) {}
  Argument (const void *Pointer) : Slot (reinterpret_cast<UINT64> (Pointer)) {}
  UINT64 Slot = 0;
};

struct Case {
  std::u16string Format;
  std::u16string Text;
  Argument Arguments[4];
};

/// The bytes of a text of 8-bit or 16-bit characters, in a block of just their size.
std::vector<CHAR8>
Encode (std::u16string_view Text, bool IsWide)
{
  std::vector<CHAR8> Bytes;
  for (const char16_t Character : Text) {
    Bytes.push_back (static_cast<CHAR8> (Character));
    if (IsWide) {
      Bytes.push_back (static_cast<CHAR8> (Character >> 8));
    }
  }
  Bytes.shrink_to_fit ();
  return Bytes;
}

/// Prints Row in all modes into buffers of each size from 0 to more than its text, and counts it.
/// Holds that the text is there as far as it fits, with its NUL, that nothing else is written, and
/// that the lengths are right.
void
Check (const Case &Row)
{
  constexpr UINTN AllModes = OUTPUT_UNICODE | FORMAT_UNICODE;
  const bool HasWideFormat =
      std::ranges::any_of (Row.Format, [] (auto Unit) { return Unit > 0xFF; });
  const std::string Guards ((Row.Text.size () + 3) * 2 + 1, '\xA5');
  for (const UINTN Flags : {UINTN{0}, OUTPUT_UNICODE, FORMAT_UNICODE, AllModes}) {
    if (HasWideFormat && (Flags & FORMAT_UNICODE) == 0) {
      continue;
    }
    const auto Format = Encode (Row.Format + u'\0', (Flags & FORMAT_UNICODE) != 0);
    for (size_t Size = 0; Size < Row.Text.size () + 3; ++Size) {
      std::string Buffer = Guards;
      const auto Print = [&] (UINTN Mode) {
        const auto &Slots = Row.Arguments;
        return BasePrintLibSPrint (Buffer.data () + 1, Size, Flags | Mode, Format.data (),
                                   Slots[0].Slot, Slots[1].Slot, Slots[2].Slot, Slots[3].Slot);
      };
      ASSERT_EQ (Print (COUNT_ONLY_NO_PRINT), Row.Text.size ());
      ASSERT_EQ (Buffer, Guards);
      const size_t Length = Size == 0 ? 0 : std::min (Row.Text.size (), Size - 1);
      ASSERT_EQ (Print (0), Length) << "size " << Size << ", modes " << Flags;
      std::string Expected = Guards;
      if (Size != 0) {
        const auto Written =
            Encode (Row.Text.substr (0, Length) + u'\0', (Flags & OUTPUT_UNICODE) != 0);
        std::ranges::copy (Written, Expected.begin () + 1);
      }
      ASSERT_EQ (Buffer, Expected) << "size " << Size << ", modes " << Flags;
    }
  }
}

TEST (Print, PrintsEachTextInAllModesAndSizes)
{
  UINT8 OddGuid[17];
  std::memcpy (OddGuid + 1, &Guid, sizeof Guid);
  const char *Hello = "hello";
  const Case Rows[] = {
      {u"%05d|%.3d|%5.3d|%05.3d", u"-0042|-005|  005|  005", {-42, -5, 5, 5}},
      {u"%+ d|% +d|% d|%+ld", u"+5|+5| 5|-9223372036854775808", {5, 5, 5, INT64_MIN}},
      {u"%-05d|%0-5d|%-6.3d|", u"42   |42   |042   |", {42, 42, 42}},
      {u"%.0d|%+.0d|%.d|%3.0d", u"|+|0|   ", {}},
      {u"%*.*d|", u"    0042|", {8, 4, 42}},
      {u"%,d|%+,d|%,d|%,d", u"1,234,567|+1,000|999|-12,345", {1234567, 1000, 999, -12345}},
      {u"%,lu|%,.5d", u"18,446,744,073,709,551,615|12", {~0ULL, 12}},
      {u"%,.0d|%,08d|%-,8d|", u"0|   1,234|1,234   |", {0, 1234, 1234}},
      {u"%+,08d|%,.9d|% ,d", u"    +123|123,456| 100,000", {123, 123456, 100000}},
      {u"%d|%ld|%Ld|%d", u"591751049|4886718345|-1|0", {0x123456789, 0x123456789, -1, 1ULL << 32}},
      {u"%u|%+u|% u|%lu", u"4294967295|5| 5|18446744073709551615", {-1, 5, 5, -1}},
      {u"%x|%8x|%8X|%+x", u"FFFFFFFF|      FF|000000FF|+FF", {-1, 255, 255, 255}},
      {u"%,x|%,lx|% x|%-8X|", u"123456|ABCDEF012| 1|FF      |", {0x123456, 0xABCDEF012, 1, 255}},
      {u"%lX|%+6X|%8.3X", u"89ABCDEF01234567|+000FF|     0FF", {0x89ABCDEF01234567, 255, 255}},
      {u"%20p|%+p|% 05p|%.4p", u"00000000000000001234|1|00001|0001", {0x1234, 1, 1, 1}},
      {u"%p|%-6p|%lp", u"FFFFFFFFFFFFFFFF|AB    |0", {-1, 0xAB, 0}},
      {u"%*d|%*d", u"7|  7", {~7ULL, 7, 3, 7}},
      {u"%+.*d|%-*d|", u"+7|7|", {~0ULL, 7, ~0ULL, 7}},
      {u"%.*a|%18446744073709551618d", u"hello| 7", {~0ULL, Hello, 7}},
      {u"%.8a|%10.3a|%-7a|", u"   hello|       hel|hello  |", {Hello, Hello, Hello}},
      {u"%.a|%.0a|%-.7a|%-9.7a|", u"h||  hello|  hello  |", {Hello, Hello, Hello, Hello}},
      {u"%08a|% a|%+la|%,a", u"   hello|hello|hello|", {Hello, Hello, Hello, ""}},
      {u"%.3a|%.3s|%.3S|", u"hel|h\u4100\uFFFF|h\u4100\uFFFF|", {Cut, WideCut, WideCut}},
      {u"%s|%.2S|%6s|%-4s|", u"|hi|    hi|hi  |", {u"", u"hit", u"hi", u"hi"}},
      {u"%a|%s|%.3S|%.a", u"<null string>|<null string>|<nu| ", {0, 0, 0, ""}},
      {u"%g|%t|%-13g|%.5t", u"<null guid>|<null time>|<null guid>  |<null", {}},
      {u"%a|%s", u"\x80\xFF%d\n|\u0125\n", {"\x80\xFF%d\n", u"\u0125\n"}},
      {u"%g|%.4g", u"7739F24C-93D7-11D4-9A3A-0090273FC14D|7739", {OddGuid + 1, &Guid}},
      {u"%40g|%t", u"    7739F24C-93D7-11D4-9A3A-0090273FC14D|11/19/2026  02:05", {&Guid, &Time}},
      {u"%.3r|%10r|%-10r|", u"Suc| Not Found|00000006  |", {0, EfiErrorCode (14), 6}},
      {u"%r|%r", u"00000001|00000006", {EfiErrorCode (1ULL << 32 | 1), 1ULL << 32 | 6}},
      {u"[%c][%c][%.0c][%08c]", u"[ ][\u4142][][       A]", {0, 0xFFFF4142, 0x41, 0x41}},
      {u"%2c|%-3c|%c%+c", u" \n|\r  |%d", {'\n', '\r', '%', 'd'}},
      {u"%%|%5%|%y|%-5y|%5y|%.3y", u"%|    %|y|y    |    y|  y", {}},
      {u"%5\nb|%3\n\rb|%3\r|%-4\r\nc", u"   \r\nb| \r\nb|  \r|\r\n  c", {}},
      {u"a\nb\n\rc\r\nd\re\n\r\n\r\rf", u"a\r\nb\r\nc\r\nd\re\r\n\r\n\rf", {}},
      {u"\xE4%\xE4\u0125%\u0164\u010A\u4100", u"\xE4\xE4\u0125\u0164\u010A\u4100", {}},
      {u"%5", u"     ", {}},
      {u"%-*", u"    ", {4}},
      {u"%.5", u"", {}},
      {u"%", u"", {}},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (&Row - Rows);
    Check (Row);
  }
}

TEST (Print, HasPartsThatFillABuffer)
{
  std::string Buffer (6, '.');
  EXPECT_EQ (BasePrintLibValueToString (Buffer.data (), 0x1A, 16), &Buffer[2]);
  EXPECT_EQ (Buffer, "\0A1..."s);
  EXPECT_EQ (BasePrintLibFillBuffer (&Buffer[0], &Buffer[6], 2, 0x4241, 2), &Buffer[4]);
  EXPECT_EQ (Buffer, "ABAB.."s);
}

TEST (Print, AgreesWithTheLibraryWhereTheLanguagesCoincide)
{
  const struct {
    std::string Type;
    std::string LibraryType;
    std::string Flags; ///< Those that mean the same to both.
  } Types[] = {{"d", "d", "-+ 0"},   {"ld", "lld", "-+ 0"}, {"u", "u", "-+0"},
               {"Lu", "llu", "-+0"}, {"x", "X", "-0"},      {"lx", "llX", "-0"}};
  for (const auto &[Type, LibraryType, FlagsOfType] : Types) {
    for (unsigned Mask = 0; Mask < 1U << FlagsOfType.size (); ++Mask) {
      std::string Flags;
      for (size_t Flag = 0; Flag < FlagsOfType.size (); ++Flag) {
        Flags.append (Mask >> Flag & 1, FlagsOfType[Flag]);
      }
      for (const auto *Size : {"", "2", "12", ".0", ".1", "2.13", "12.4"}) {
        for (const INT64 Value : {0LL, 7LL, -80LL, 1LL << 31, -1LL << 63}) {
          const std::string Format = "%" + Flags + Size;
          char Text[40];
          std::snprintf (Text, sizeof Text, (Format + LibraryType).data (), Value);
          const std::string Ours = Format + Type;
          SCOPED_TRACE (Ours + " of " + std::to_string (Value));
          ASSERT_NO_FATAL_FAILURE (
              Check ({{Ours.begin (), Ours.end ()}, {Text, Text + std::strlen (Text)}, {Value}}));
        }
      }
    }
  }
}

TEST (Print, KnowsTheWordsOfEachStatus)
{
  std::string Words;
  for (UINT64 Row = 0; Row < 7 + 35; ++Row) {
    CHAR8 Text[40];
    AsciiSPrint (Text, sizeof Text, "%r|", Row < 7 ? Row : EfiErrorCode (Row - 7));
    Words += Text;
  }
  EXPECT_EQ (Words,
             "Success|Warning Unknown Glyph|Warning Delete Failure|Warning Write Failure|"
             "Warning Buffer Too Small|Warning Stale Data|00000006|00000000|Load Error|"
             "Invalid Parameter|Unsupported|Bad Buffer Size|Buffer Too Small|Not Ready|"
             "Device Error|Write Protected|Out of Resources|Volume Corrupt|Volume Full|"
             "No Media|Media changed|Not Found|Access Denied|No Response|No mapping|Time out|"
             "Not started|Already started|Aborted|ICMP Error|TFTP Error|Protocol Error|"
             "Incompatible Version|Security Violation|CRC Error|End of Media|Reserved (29)|"
             "Reserved (30)|End of File|Invalid Language|Compromised Data|00000022|");
}

TEST (Print, ReadsAnArgumentOneCharacterAtATimeAndOnlyIfThereIsRoom)
{
  CHAR8 Buffer[40] = "0123456789";
  EXPECT_EQ (AsciiSPrint (Buffer, sizeof Buffer, "ab%a", Buffer), 12U);
  EXPECT_STREQ (Buffer, "abababababab");
  CHAR8 Wide[40] = "0123";
  EXPECT_EQ (BasePrintLibSPrint (Wide, 20, OUTPUT_UNICODE, "%a", Wide), 1U);
  EXPECT_EQ (AsciiSPrint (Buffer, 4, "abc%a", reinterpret_cast<const CHAR8 *> (1)), 3U);
}

TEST (Print, MakesDigitsOfAnyRadix)
{
  CHAR8 Buffer[4];
  EXPECT_EQ (BasePrintLibValueToString (Buffer, 6, 2), Buffer + 3);
  EXPECT_EQ (std::string (Buffer, 4), "\0"s + "011");
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
      {nullptr, Limit, Count | OUTPUT_UNICODE, "abc", "", 3},
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
