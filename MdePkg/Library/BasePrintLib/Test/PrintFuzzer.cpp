#include "PrintFuzzer.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "PrintLib.h"
#include "PrintModel.h"

namespace {

constexpr size_t PageSize = 4096;
constexpr size_t GuardSize = 32;
constexpr UINT8 GuardByte = 0xA5;
constexpr size_t LargestBuffer = 1000; ///< In characters.

/// One accessible page between two that are not.
struct GuardedPage {
  GuardedPage ()
      : Begin (static_cast<UINT8 *> (
                   mmap (nullptr, 3 * PageSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) +
               PageSize),
        End (Begin + PageSize)
  {
    if (mprotect (Begin, PageSize, PROT_READ | PROT_WRITE) != 0) {
      throw std::runtime_error ("no memory for a guarded page");
    }
  }
  GuardedPage (const GuardedPage &) = delete;
  ~GuardedPage ()
  {
    munmap (Begin - PageSize, 3 * PageSize);
  }

  UINT8 *Begin;
  UINT8 *End;
};

/// SplitMix64.
struct Random {
  UINT64 State;

  UINT64
  Next ()
  {
    State += 0x9E3779B97F4A7C15;
    UINT64 Mixed = (State ^ (State >> 30)) * 0xBF58476D1CE4E5B9;
    Mixed = (Mixed ^ (Mixed >> 27)) * 0x94D049BB133111EB;
    return Mixed ^ (Mixed >> 31);
  }

  UINT64
  Below (UINT64 Bound)
  {
    return Next () % Bound;
  }

  bool
  OneIn (UINT64 Bound)
  {
    return Below (Bound) == 0;
  }

  template <typename Type, size_t Count>
  Type
  Of (const Type (&Values)[Count])
  {
    return Values[Below (Count)];
  }
};

constexpr UINT64 EdgeValues[] = {
    0,         1,          9,          10,          999,
    1000,      INT32_MAX,  1ULL << 31, 0xFFFFFFFF,  1ULL << 32,
    INT64_MAX, 1ULL << 63, ~0ULL,      ~0ULL - 999, 0xFFFFFFFFULL << 32};
constexpr char16_t Literals[] = {'a',  'Z',  '0',  ' ',  '.',  '\n', '\r',
                                 '\n', '\r', '\t', 0x7F, 0x80, 0xFF};
constexpr char16_t FlagsOfDirective[] = {'.', '.', '-', '+', ' ', ',', 'l',
                                         'L', '*', '0', '1', '2', '3', '9'};
constexpr char16_t Types[] = {'d', 'd', 'u', 'x', 'X', 'p', 'a', 'a',  's',  'S',
                              'c', 'g', 't', 'r', 'r', '%', 'y', '\n', '\r', 0xE4};
/// Characters whose low bytes are those of "%", LF, "5", "d" and the NUL.
constexpr char16_t WideCharacters[] = {0x0125, 0x010A, 0x0135, 0x0164, 0x4100, 0xFFFF};
constexpr const char *NarrowTexts[] = {nullptr,
                                       "",
                                       "x",
                                       "hello",
                                       "\x80\xFF%d\n",
                                       "a text that is longer than most of the widths and sizes"};
constexpr const char16_t *WideTexts[] = {
    nullptr,
    u"",
    u"x",
    u"hello",
    u"\u4100\u0125\uFFFF",
    u"a text that is longer than most of the widths and sizes"};

class Fuzzer {
public:
  Fuzzer ()
  {
    Random Bytes = {1};
    std::generate (Data.Begin, Data.End, [&] { return static_cast<UINT8> (Bytes.Next () | 1); });
  }

  /// Returns what is wrong, or "".
  std::string
  RunCase (UINT64 Seed, UINT64 Number)
  {
    Generator = {Seed * 0xD1342543DE82EF95 + Number};
    Problem.clear ();
    if (Generator.OneIn (4)) {
      CompareWithLibrary ();
    } else {
      CompareWithModel ();
    }
    return Problem;
  }

private:
  UINT64
  Value ()
  {
    return Generator.OneIn (3) ? Generator.Of (EdgeValues)
                               : Generator.Next () >> Generator.Below (64);
  }

  template <typename Type>
  void
  AddPointer (const Type *Pointer)
  {
    Slots.push_back (reinterpret_cast<UINT64> (Pointer));
  }

  void
  AddArgument (char16_t Type)
  {
    switch (Type) {
    case 'd':
    case 'u':
    case 'x':
    case 'X':
    case 'p':
    case 'c':
      Slots.push_back (Value ());
      break;
    case 'a':
      AddPointer (Generator.Of (NarrowTexts));
      break;
    case 's':
    case 'S':
      AddPointer (Generator.Of (WideTexts));
      break;
    case 'g':
      AddPointer (Generator.OneIn (8) ? nullptr : Data.Begin + Generator.Below (PageSize - 15));
      break;
    case 't':
      AddPointer (Generator.OneIn (8) ? nullptr
                                      : Data.Begin + 4 * Generator.Below (PageSize / 4 - 3));
      break;
    case 'r':
      Slots.push_back (Generator.OneIn (4) ? Value ()
                                           : Generator.Below (2) << 63 | Generator.Below (36));
      break;
    default:
      break;
    }
  }

  void
  AddDirective ()
  {
    Format += u'%';
    while (!Generator.OneIn (3)) {
      const char16_t Flag = Generator.Of (FlagsOfDirective);
      Format += Flag;
      if (Flag == '*') {
        Slots.push_back (Generator.OneIn (4) ? Value () : Generator.Below (40));
      }
    }
    if (Generator.OneIn (50)) {
      Format.append (Generator.Below (22), u'7');
    }
    const char16_t Type =
        IsFormatWide && Generator.OneIn (20) ? Generator.Of (WideCharacters) : Generator.Of (Types);
    Format += Type;
    AddArgument (Type);
  }

  /// A text that ends with the page and has no NUL, behind a precision that ends it.
  void
  AddBoundedText ()
  {
    const UINT64 Length = Generator.Below (30);
    const bool IsWide = Generator.OneIn (2);
    const std::string Precision = std::to_string (Length);
    Format += Generator.OneIn (2) ? u"%-." : u"%.";
    Format.append (Precision.begin (), Precision.end ());
    Format += IsWide ? u's' : u'a';
    AddPointer (Data.End - Length * (IsWide ? 2 : 1));
  }

  void
  MakeFormat ()
  {
    Format.clear ();
    Slots.clear ();
    while (!Generator.OneIn (6) && Format.size () < 200) {
      switch (Generator.Below (10)) {
      case 0:
        AddBoundedText ();
        break;
      case 1:
      case 2:
        Format.append (Generator.Below (12), u'q');
        break;
      case 3:
      case 4:
        Format += IsFormatWide && Generator.OneIn (4) ? Generator.Of (WideCharacters)
                                                      : Generator.Of (Literals);
        break;
      default:
        AddDirective ();
      }
    }
    if (Generator.OneIn (8)) {
      AddDirective ();
      Format.pop_back ();
    }
    FormatBytes.clear ();
    for (const char16_t Character : Format + u'\0') {
      FormatBytes += static_cast<char> (Character);
      if (IsFormatWide) {
        FormatBytes += static_cast<char> (Character >> 8);
      }
    }
  }

  void
  CompareWithModel ()
  {
    IsFormatWide = Generator.OneIn (3);
    const bool IsOutputWide = Generator.OneIn (3);
    const UINTN Flags = (IsFormatWide ? FORMAT_UNICODE : 0) | (IsOutputWide ? OUTPUT_UNICODE : 0);
    MakeFormat ();
    const ModelText Expected = PrintByModel (Format, Slots.data (), LargestBuffer);

    const size_t Kept = Expected.Text.size ();
    const size_t Wanted =
        Generator.OneIn (2) ? Generator.Below (Kept + 1) : Kept + Generator.Below (3);
    const size_t Size = std::min (Wanted, LargestBuffer);
    const size_t Bytes = Size * (IsOutputWide ? 2 : 1);
    const bool IsAtEnd = Generator.OneIn (2);
    UINT8 *Guarded = IsAtEnd ? Output.End - Bytes - GuardSize : Output.Begin;
    UINT8 *Buffer = IsAtEnd ? Guarded + GuardSize : Guarded;
    std::memset (Guarded, GuardByte, Bytes + GuardSize);

    const UINTN Length = Call (Buffer, Size, Flags);
    const size_t Fitting = Size == 0 ? 0 : std::min (Kept, Size - 1);
    if (Length != Fitting) {
      Report ("length", Flags, Size, Fitting, Length);
    }
    Image.assign (Bytes + GuardSize, GuardByte);
    UINT8 *Next = Image.data () + (Buffer - Guarded);
    for (size_t Index = 0; Size != 0 && Index <= Fitting; ++Index) {
      const char16_t Character = Index < Fitting ? Expected.Text[Index] : u'\0';
      *Next++ = static_cast<UINT8> (Character);
      if (IsOutputWide) {
        *Next++ = static_cast<UINT8> (Character >> 8);
      }
    }
    if (std::memcmp (Image.data (), Guarded, Image.size ()) != 0) {
      const auto Place = std::mismatch (Image.begin (), Image.end (), Guarded).first;
      Report ("byte", Flags, Size, *Place, Guarded[Place - Image.begin ()]);
    }

    const bool IsBufferGiven = Generator.OneIn (2);
    const UINTN Counted = Call (IsBufferGiven ? Buffer : nullptr, IsBufferGiven ? Size : 0,
                                Flags | COUNT_ONLY_NO_PRINT);
    if (Counted != Expected.Length) {
      Report ("count", Flags, Size, Expected.Length, Counted);
    }
    if (std::memcmp (Image.data (), Guarded, Image.size ()) != 0) {
      Report ("write while counting", Flags, Size, 0, 0);
    }
  }

  UINTN
  Call (UINT8 *Buffer, UINTN Size, UINTN Flags)
  {
    return BasePrintLibSPrintMarker (reinterpret_cast<CHAR8 *> (Buffer), Size, Flags,
                                     FormatBytes.data (),
                                     reinterpret_cast<CHAR8 *> (Slots.data ()));
  }

  /// One directive in the part of the language that both print alike, in both spellings.
  void
  CompareWithLibrary ()
  {
    struct Kind {
      const char *Flags;
      const char *Engine;
      const char *Library;
    };
    constexpr Kind Kinds[] = {{"-+ 0", "d", "d"},  {"-+ 0", "ld", "lld"}, {"-+0", "u", "u"},
                              {"-0", "lu", "llu"}, {"-0", "x", "X"},      {"-0", "lx", "llX"},
                              {"-0", "X", "X"},    {"-", "c", "c"},       {"-", "a", "s"}};
    const Kind Chosen = Generator.Of (Kinds);
    const char *Text = NarrowTexts[1 + Generator.Below (std::size (NarrowTexts) - 1)];
    const bool IsText = *Chosen.Engine == 'a';

    std::string Middle;
    while (Generator.OneIn (2)) {
      Middle += Chosen.Flags[Generator.Below (std::strlen (Chosen.Flags))];
    }
    std::string Engine = "<%" + Middle;
    std::string Library = Engine + (*Chosen.Engine == 'X' ? "0" : "");
    Middle.clear ();
    if (Generator.OneIn (2)) {
      Middle += std::to_string (1 + Generator.Below (30));
    }
    if (*Chosen.Engine != 'c' && Generator.OneIn (2)) {
      Middle += "." + std::to_string (Generator.Below (IsText ? std::strlen (Text) + 1 : 25));
    }
    Engine += Middle + Chosen.Engine + "|%a>";
    Library += Middle + Chosen.Library + "|%s>";

    const size_t Size = 1 + Generator.Below (90);
    CHAR8 Actual[90];
    char Expected[90];
    UINT64 Argument = IsText ? reinterpret_cast<UINT64> (Text) : Value ();
    if (*Chosen.Engine == 'c') {
      Argument = 1 + Argument % 0x7F;
    }
    const UINTN Length = AsciiSPrint (Actual, Size, Engine.c_str (), Argument, "end");
    const int Whole = std::snprintf (Expected, Size, Library.c_str (), Argument, "end");
    if (Length != std::min<UINTN> (static_cast<UINTN> (Whole), Size - 1) ||
        std::strcmp (Actual, Expected) != 0) {
      Problem = "C library prints " + Library + " as " + Expected + ", engine " + Engine + " as " +
                Actual;
    }
  }

  void
  Report (const char *What, UINTN Flags, size_t Size, UINT64 Expected, UINT64 Actual)
  {
    if (!Problem.empty ()) {
      return;
    }
    std::ostringstream Text;
    Text << What << ": expected " << Expected << ", is " << Actual << "; flags 0x" << std::hex
         << Flags << std::dec << ", size " << Size << ", format \"";
    for (const char16_t Character : Format) {
      if (Character >= ' ' && Character < 0x7F) {
        Text << static_cast<char> (Character);
      } else {
        Text << "\\x" << std::hex << static_cast<unsigned> (Character);
      }
    }
    Text << "\", slots" << std::hex;
    for (const UINT64 Slot : Slots) {
      Text << " " << Slot;
    }
    Problem = Text.str ();
  }

  Random Generator = {0};
  GuardedPage Output;
  GuardedPage Data; ///< Bytes without a NUL, for GUIDs, times and texts.
  bool IsFormatWide = false;
  std::u16string Format;
  std::string FormatBytes;
  std::vector<UINT64> Slots;
  std::vector<UINT8> Image;
  std::string Problem;
};

} // namespace

std::string
FuzzPrint (UINT64 Seed, UINT64 First, UINT64 Count, volatile UINT64 *Running)
{
  Fuzzer Cases;
  for (UINT64 Number = First; Number != First + Count; ++Number) {
    if (Running != nullptr) {
      *Running = Number;
    }
    const std::string Problem = Cases.RunCase (Seed, Number);
    if (!Problem.empty ()) {
      return "case " + std::to_string (Number) + " of seed " + std::to_string (Seed) + ": " +
             Problem;
    }
  }
  return "";
}
