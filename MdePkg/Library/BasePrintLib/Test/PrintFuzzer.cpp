#include "PrintFuzzer.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "PrintLib.h"
#include "PrintModel.h"

namespace {

using namespace std::string_view_literals;

constexpr size_t PageSize = 4096;
constexpr char GuardByte = '\xA5';
constexpr size_t LargestBuffer = 1000; ///< In characters.

constexpr UINT64 EdgeValues[] = {
    0,         1,          9,          10,          999,
    1000,      INT32_MAX,  1ULL << 31, 0xFFFFFFFF,  1ULL << 32,
    INT64_MAX, 1ULL << 63, ~0ULL,      ~0ULL - 999, 0xFFFFFFFFULL << 32};
constexpr auto Literals = u"aZ0 .\n\r\n\r\t\u007F\u0080\u00FF"sv;
constexpr auto FlagsOfDirective = u"..-+ ,lL*01239"sv;
constexpr auto TypesWithArgument = u"dduxXpaasScgtrr"sv;
constexpr auto OtherTypes = u"%y\n\r\u00E4"sv;
/// Characters whose low bytes are those of "%", LF, "5", "d" and the NUL.
constexpr auto WideCharacters = u"\u0125\u010A\u0135\u0164\u4100\uFFFF"sv;
constexpr char LongText[] = "a text that is longer than most of the widths and sizes";
constexpr char16_t WideLongText[] = u"a text that is longer than most of the widths and sizes";
constexpr const char *NarrowTexts[] = {nullptr, "", "x", "hello", "\x80\xFF%d\n", LongText};
constexpr const char16_t *WideTexts[] = {nullptr,     u"", u"x", u"hello", u"\u4100\u0125\uFFFF",
                                         WideLongText};

/// An accessible page between two that are not.
char *
MakeGuardedPage ()
{
  auto *Pages = static_cast<char *> (
      mmap (nullptr, 3 * PageSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  EXPECT_EQ (mprotect (Pages + PageSize, PageSize, PROT_READ | PROT_WRITE), 0);
  return Pages + PageSize;
}

/// Outlives the fuzzers.
char *const mOutput = MakeGuardedPage ();
/// Bytes without a NUL, for GUIDs, times and texts.
char *const mData = MakeGuardedPage ();

/// The bytes of a text with characters of one or of two bytes.
std::string
Encode (std::u16string_view Text, bool IsWide)
{
  std::string Bytes;
  for (const char16_t Character : Text) {
    Bytes += static_cast<char> (Character);
    if (IsWide) {
      Bytes += static_cast<char> (Character >> 8);
    }
  }
  return Bytes;
}

class Fuzzer {
public:
  explicit Fuzzer (UINT64 Seed) : Generator (Seed)
  {
    std::generate_n (mData, PageSize, [this] { return static_cast<char> (Below (255) + 1); });
  }

  /// Returns what is wrong, or "".
  std::string
  RunCase ()
  {
    return OneIn (4) ? CompareWithLibrary () : CompareWithModel ();
  }

private:
  UINT64
  Below (UINT64 Bound)
  {
    return Generator () % Bound;
  }

  bool
  OneIn (UINT64 Bound)
  {
    return Below (Bound) == 0;
  }

  template <typename List>
  auto
  OneOf (const List &Values)
  {
    return Values[Below (std::size (Values))];
  }

  UINT64
  Value ()
  {
    return OneIn (3) ? OneOf (EdgeValues) : Generator () >> Below (64);
  }

  void
  AddPointer (const VOID *Pointer)
  {
    Slots.push_back (reinterpret_cast<UINT64> (Pointer));
  }

  void
  AddArgument (char16_t Type)
  {
    if (Type == 'a') {
      AddPointer (OneOf (NarrowTexts));
    } else if (Type == 's' || Type == 'S') {
      AddPointer (OneOf (WideTexts));
    } else if (Type == 'g') {
      AddPointer (OneIn (8) ? nullptr : mData + Below (PageSize - 15));
    } else if (Type == 't') {
      AddPointer (OneIn (8) ? nullptr : mData + 4 * Below (PageSize / 4 - 3));
    } else if (Type == 'r' && !OneIn (4)) {
      Slots.push_back (Below (2) << 63 | Below (36));
    } else {
      Slots.push_back (Value ());
    }
  }

  void
  AddDirective ()
  {
    Format += u'%';
    while (!OneIn (3)) {
      Format += OneOf (FlagsOfDirective);
      if (Format.back () == '*') {
        Slots.push_back (OneIn (4) ? Value () : Below (40));
      }
    }
    if (OneIn (50)) {
      Format.append (Below (22), u'7');
    }
    if (OneIn (4)) {
      Format += IsFormatWide && OneIn (5) ? OneOf (WideCharacters) : OneOf (OtherTypes);
    } else {
      Format += OneOf (TypesWithArgument);
      AddArgument (Format.back ());
    }
  }

  /// A text that ends with the page and has no NUL, behind a precision that ends it.
  void
  AddBoundedText ()
  {
    const UINT64 Length = Below (30);
    const bool IsWide = OneIn (2);
    const std::string Precision = std::to_string (Length);
    Format += OneIn (2) ? u"%-." : u"%.";
    Format.append (Precision.begin (), Precision.end ());
    Format += IsWide ? u's' : u'a';
    AddPointer (mData + PageSize - Length * (IsWide ? 2 : 1));
  }

  void
  MakeFormat ()
  {
    Format.clear ();
    Slots.clear ();
    while (!OneIn (6) && Format.size () < 200) {
      const UINT64 Part = Below (10);
      if (Part == 0) {
        AddBoundedText ();
      } else if (Part <= 2) {
        Format.append (Below (12), u'q');
      } else if (Part <= 4) {
        Format += IsFormatWide && OneIn (4) ? OneOf (WideCharacters) : OneOf (Literals);
      } else {
        AddDirective ();
      }
    }
    if (OneIn (8)) {
      AddDirective ();
      Format.pop_back ();
    }
  }

  std::string
  CompareWithModel ()
  {
    IsFormatWide = OneIn (3);
    MakeFormat ();
    const ModelText Expected = PrintByModel (Format, Slots.data (), LargestBuffer);

    const bool IsOutputWide = OneIn (3);
    const UINTN Flags = (IsFormatWide ? FORMAT_UNICODE : 0) | (IsOutputWide ? OUTPUT_UNICODE : 0);
    const size_t Kept = Expected.Text.size ();
    const size_t Size =
        std::min<size_t> (OneIn (2) ? Below (Kept + 1) : Kept + Below (3), LargestBuffer);
    const size_t Fitting = Size == 0 ? 0 : std::min (Kept, Size - 1);
    const size_t Place = OneIn (2) ? 0 : PageSize - Size * (IsOutputWide ? 2 : 1);
    std::string Page (PageSize, GuardByte);
    if (Size != 0) {
      const std::string Text = Encode (Expected.Text.substr (0, Fitting) + u'\0', IsOutputWide);
      Page.replace (Place, Text.size (), Text);
    }

    std::memset (mOutput, GuardByte, PageSize);
    const UINTN Length = Call (mOutput + Place, Size, Flags);
    // What is only counted goes nowhere: not to a null pointer and not to an inaccessible page.
    const UINTN Counted =
        Call (OneIn (2) ? nullptr : mOutput + PageSize, Size, Flags | COUNT_ONLY_NO_PRINT);
    if (Length == Fitting && Counted == Expected.Length &&
        std::memcmp (mOutput, Page.data (), PageSize) == 0) {
      return "";
    }
    using testing::PrintToString;
    return "format " + PrintToString (Format) + ", slots " + PrintToString (Slots) + ", flags " +
           PrintToString (Flags) + ", size " + PrintToString (Size) + ": length " +
           PrintToString (Length) + " of " + PrintToString (Fitting) + ", count " +
           PrintToString (Counted) + " of " + PrintToString (Expected.Length) + ", text " +
           PrintToString (std::string (mOutput + Place, Size)) + " in place of " +
           PrintToString (Page.substr (Place, Size));
  }

  UINTN
  Call (CHAR8 *Buffer, UINTN Size, UINTN Flags)
  {
    return BasePrintLibSPrintMarker (Buffer, Size, Flags,
                                     Encode (Format + u'\0', IsFormatWide).data (),
                                     reinterpret_cast<CHAR8 *> (Slots.data ()));
  }

  /// A number in the part of the language that both print alike, in both spellings.
  std::string
  CompareWithLibrary ()
  {
    constexpr struct {
      std::string_view Flags, Engine, Library;
    } Kinds[] = {{"-+ 0", "d", "d"},  {"-+ 0", "ld", "lld"}, {"-0", "u", "u"},
                 {"-0", "lu", "llu"}, {"-0", "x", "X"},      {"-0", "lx", "llX"}};
    const auto Kind = OneOf (Kinds);
    std::string Start = "<%";
    while (OneIn (2)) {
      Start += OneOf (Kind.Flags);
    }
    Start += OneIn (2) ? std::to_string (1 + Below (30)) : "";
    Start += OneIn (2) ? "." + std::to_string (Below (25)) : "";
    const std::string Engine = Start + std::string (Kind.Engine) + "|%a>";
    const std::string Library = Start + std::string (Kind.Library) + "|%s>";

    CHAR8 Actual[90];
    char Expected[90];
    const size_t Size = 1 + Below (sizeof Expected);
    const UINT64 Argument = Value ();
    const UINTN Length = AsciiSPrint (Actual, Size, Engine.c_str (), Argument, "end");
    const int Whole = std::snprintf (Expected, Size, Library.c_str (), Argument, "end");
    if (Length == std::min (static_cast<size_t> (Whole), Size - 1) &&
        std::strcmp (Actual, Expected) == 0) {
      return "";
    }
    return "C library prints " + Library + " as " + Expected + ", engine " + Engine + " as " +
           Actual;
  }

  std::mt19937_64 Generator;
  bool IsFormatWide = false;
  std::u16string Format;
  std::vector<UINT64> Slots;
};

} // namespace

std::string
FuzzPrint (UINT64 Seed, UINT64 Count)
{
  Fuzzer Cases (Seed);
  for (UINT64 Number = 0; Number != Count; ++Number) {
    const std::string Problem = Cases.RunCase ();
    if (!Problem.empty ()) {
      return "seed " + std::to_string (Seed) + ", case " + std::to_string (Number) + ": " + Problem;
    }
  }
  return "";
}
