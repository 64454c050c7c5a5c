#include "PrintFuzzer.h"

#include <algorithm>
#include <random>
#include <vector>

#include "PrintLib.h"
#include "PrintModel.h"

namespace {

constexpr size_t GuardSize = 32;
constexpr char GuardByte = '\xA5';
constexpr size_t LargestBuffer = 1000; ///< In characters.

constexpr UINT64 EdgeValues[] = {0,          1,         9,          999,   1000,        INT32_MAX,
                                 1ULL << 31, INT64_MAX, 1ULL << 63, ~0ULL, ~0ULL - 999, 1ULL << 32};
constexpr std::u16string_view Literals = u"aZ0 .\n\r\n\r\t\x7F\x80\xFF";
constexpr std::u16string_view FlagsOfDirective = u"..-+ ,lL*01239";
constexpr std::u16string_view Types = u"dduxXpaasSc%y\n\r\u00E4";
/// Characters whose low bytes are those of "%", LF, "5", "d" and the NUL.
constexpr std::u16string_view WideCharacters = u"\u0125\u010A\u0135\u0164\u4100\uFFFF";
constexpr const char *NarrowTexts[] = {nullptr, "", "x", "\x80\xFF%d\n",
                                       "a text that is longer than most of the widths and sizes"};
constexpr const char16_t *WideTexts[] = {
    nullptr, u"", u"x", u"\u4100\u0125\uFFFF",
    u"a text that is longer than most of the widths and sizes"};

/// One random format with its arguments in slots.
struct Case {
  UINT64
  Below (UINT64 Bound)
  {
    return Generator () % Bound;
  }

  template <typename List>
  auto
  Of (const List &Values)
  {
    return Values[Below (std::size (Values))];
  }

  explicit Case (std::mt19937_64 &Random) : Generator (Random)
  {
    IsWide = Below (3) == 0;
    while (Below (6) != 0 && Format.size () < 200) {
      if (Below (2) == 0) {
        AddDirective ();
      } else if (Below (2) == 0) {
        Format.append (Below (12), u'q');
      } else {
        Format += Of (IsWide && Below (4) == 0 ? WideCharacters : Literals);
      }
    }
    if (Below (8) == 0) {
      AddDirective ();
      Format.pop_back ();
    }
  }

  /// Prints between guard bytes and counts. Returns what differs from the model, or "".
  std::string
  Compare ()
  {
    const UINTN Width = Below (3) == 0 ? 2 : 1;
    const UINTN Flags = (IsWide ? FORMAT_UNICODE : 0) | (Width == 2 ? OUTPUT_UNICODE : 0);
    const ModelText Expected = PrintByModel (Format.c_str (), Slots.data (), LargestBuffer);
    const size_t Kept = Expected.Text.size ();
    const size_t Size =
        std::min<size_t> (LargestBuffer, Below (2) == 0 ? Below (Kept + 1) : Kept + Below (3));
    const size_t Fitting = Size == 0 ? 0 : std::min<size_t> (Kept, Size - 1);

    std::string Guarded (GuardSize + Size * Width + GuardSize, GuardByte);
    std::string Image = Guarded;
    if (Size != 0) {
      const std::string Text = Encode (Expected.Text.substr (0, Fitting) + u'\0', Width);
      Image.replace (GuardSize, Text.size (), Text);
    }

    CHAR8 *Buffer = Guarded.data () + GuardSize;
    std::string Problem;
    Problem += Print (Buffer, Size, Flags) != Fitting ? "length, " : "";
    Problem += Guarded != Image ? "text, " : "";
    const bool IsGiven = Below (2) == 0;
    const UINTN Counted =
        Print (IsGiven ? Buffer : nullptr, IsGiven ? Size : 0, Flags | COUNT_ONLY_NO_PRINT);
    Problem += Counted != Expected.Length ? "count, " : "";
    Problem += Guarded != Image ? "bytes, " : "";
    return Problem.empty () ? "" : Problem + "format \"" + Encode (Format, 1) + "\"";
  }

  static std::string
  Encode (const std::u16string &Text, UINTN Width)
  {
    std::string Bytes;
    for (const char16_t Character : Text) {
      Bytes += static_cast<char> (Character);
      Bytes.append (Width - 1, static_cast<char> (Character >> 8));
    }
    return Bytes;
  }

  UINTN
  Print (CHAR8 *Buffer, UINTN Size, UINTN Flags)
  {
    return BasePrintLibSPrintMarker (Buffer, Size, Flags,
                                     Encode (Format + u'\0', IsWide ? 2 : 1).data (),
                                     reinterpret_cast<CHAR8 *> (Slots.data ()));
  }

  UINT64
  Value ()
  {
    return Below (3) == 0 ? Of (EdgeValues) : Generator () >> Below (64);
  }

  void
  AddDirective ()
  {
    Format += u'%';
    while (Below (3) != 0) {
      Format += Of (FlagsOfDirective);
      if (Format.back () == '*') {
        Slots.push_back (Below (4) == 0 ? Value () : Below (40));
      }
    }
    if (Below (50) == 0) {
      Format.append (Below (22), u'7');
    }
    const char16_t Type = Of (IsWide && Below (20) == 0 ? WideCharacters : Types);
    Format += Type;
    if (Type == 'a') {
      Slots.push_back (reinterpret_cast<UINT64> (Of (NarrowTexts)));
    } else if (Type == 's' || Type == 'S') {
      Slots.push_back (reinterpret_cast<UINT64> (Of (WideTexts)));
    } else if (std::u16string_view (u"duxXpc").find (Type) != std::u16string_view::npos) {
      Slots.push_back (Value ());
    }
  }

  std::mt19937_64 &Generator;
  bool IsWide = false; ///< The format.
  std::u16string Format;
  std::vector<UINT64> Slots;
};

} // namespace

std::string
FuzzPrint (UINT64 Seed, UINT64 Count)
{
  std::mt19937_64 Random (Seed);
  for (UINT64 Number = 0; Number != Count; ++Number) {
    const std::string Problem = Case (Random).Compare ();
    if (!Problem.empty ()) {
      return "case " + std::to_string (Number) + ": " + Problem;
    }
  }
  return "";
}
