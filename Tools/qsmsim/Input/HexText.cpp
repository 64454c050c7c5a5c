#include "DecodedText.h"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>

#include "InputFile.h"
#include "RawRecords.h"

namespace {

constexpr std::string_view Separators = " \t\r,;:-{}[]()\"'";
constexpr std::string_view RecordStart = "43504552";

/// Number of digits of the octal offsets that od writes.
constexpr std::size_t OctalOffsetSize = 7;

/// More left-out bytes are an offset that is none.
constexpr UINT64 LeftOutMax = 1024 * 1024;

std::string_view
LeadingDigits (std::string_view Text)
{
  return Text.substr (0, Text.find_first_not_of (HEX_DIGITS));
}

std::string_view
WithoutLeading (std::string_view Text, std::string_view Characters)
{
  return Text.substr (std::min (Text.find_first_not_of (Characters), Text.size ()));
}

UINT64
Value (std::string_view Text, int Base)
{
  UINT64 Number = 0;
  std::from_chars (Text.data (), Text.data () + Text.size (), Number, Base);
  return Number;
}

class Hex : public TextDecoder {
public:
  void Decode (std::string_view Line, UINT64 Offset, std::string &Bytes) override;

private:
  bool IsDump = false;   ///< Lines begin with an offset.
  bool LeftOut = false;  ///< Lines like the last one are missing ahead of this one.
  UINT64 DumpOffset = 0; ///< That the next line of the dump should have,
  int OffsetBase = 16;   ///< and the base in which it stands there.
  std::string LastLine;  ///< The bytes of the dump's last line.

  std::string_view TakeOffset (std::string_view Line, UINT64 Offset, std::string &Bytes);
  void GoTo (std::string_view OffsetDigits, UINT64 Offset, std::string &Bytes);
  void FillTo (UINT64 Target, UINT64 Offset, std::string &Bytes);
};

/// Where the column of characters begins that a dump has behind the bytes.
std::size_t
CharacterColumn (std::string_view Bytes, bool AfterColon)
{
  const std::size_t Bar = Bytes.find_first_of ("|>");
  return AfterColon ? std::min (Bar, Bytes.find ("  ")) : Bar;
}

/// Supplies what a dump has left out: lines like its last one, of which none begins a record.
void
Hex::FillTo (UINT64 Target, UINT64 Offset, std::string &Bytes)
{
  const UINT64 Missing = Target - DumpOffset;
  if (LastLine.empty () || Target < DumpOffset || Missing > LeftOutMax ||
      Missing % LastLine.size () != 0 ||
      FindSignature (LastLine + LastLine) != std::string_view::npos) {
    throw InputError (fmt::format (
        "offset 0x{:X}: expected the dump's offset behind its left-out lines, found 0x{:X}", Offset,
        Target));
  }
  for (UINT64 Filled = 0; Filled < Missing; Filled += LastLine.size ()) {
    Bytes += LastLine;
  }
  DumpOffset = Target;
}

/// Begins a line of the dump. A dump goes on where its last line has ended, or another one begins.
void
Hex::GoTo (std::string_view OffsetDigits, UINT64 Offset, std::string &Bytes)
{
  if (!IsDump || Value (OffsetDigits, 16) == 0) {
    OffsetBase = OffsetDigits.size () == OctalOffsetSize ? 8 : 16;
    DumpOffset = Value (OffsetDigits, OffsetBase);
    LeftOut = false;
  }
  if (OffsetBase == 8 && Value (OffsetDigits, 8) < DumpOffset &&
      Value (OffsetDigits, 10) == DumpOffset) {
    OffsetBase = 10;
  }
  const UINT64 Found = Value (OffsetDigits, OffsetBase);
  if (LeftOut) {
    FillTo (Found, Offset, Bytes);
  } else if (Found != DumpOffset) {
    throw InputError (fmt::format (
        "offset 0x{:X}: expected the line of the dump with offset 0x{:X}, found that with 0x{:X}",
        Offset, DumpOffset, Found));
  }
  IsDump = true;
  LeftOut = false;
}

/// The line without the columns that are no bytes.
std::string_view
Hex::TakeOffset (std::string_view Line, UINT64 Offset, std::string &Bytes)
{
  const std::string_view First = LeadingDigits (Line);
  std::string_view Rest = Line.substr (First.size ());
  const bool HasColon = Rest.starts_with (':') && First.size () >= DUMP_OFFSET_SIZE_MIN;
  const std::string_view Second = LeadingDigits (WithoutLeading (Rest, " "));
  const bool HasOffset =
      HasColon || (First.size () >= DUMP_OFFSET_SIZE_MIN && First != RecordStart &&
                   (Second.size () == 2 || (IsDump && Second.empty ())));
  if (!HasOffset) {
    return Line;
  }
  GoTo (First, Offset, Bytes);
  Rest = WithoutLeading (Rest.substr (HasColon ? 1 : 0), " ");
  return Rest.substr (0, CharacterColumn (Rest, HasColon));
}

void
Hex::Decode (std::string_view Line, UINT64 Offset, std::string &Bytes)
{
  if (IsDump && Line.starts_with ('*')) {
    LeftOut = true;
    return;
  }
  std::string_view Rest = TakeOffset (Line, Offset, Bytes);
  const char *Start = Line.data ();
  const std::size_t Before = Bytes.size ();
  for (Rest = WithoutLeading (Rest, Separators); !Rest.empty ();
       Rest = WithoutLeading (Rest, Separators)) {
    const bool HasPrefix =
        Rest.starts_with ("0x") || Rest.starts_with ("0X") || Rest.starts_with ("\\x");
    Rest.remove_prefix (HasPrefix ? 2 : 0);
    std::string_view Pairs = LeadingDigits (Rest);
    Rest.remove_prefix (Pairs.size ());
    const bool HasSlip =
        Pairs.empty () || (Pairs.size () % 2 != 0 && !(HasPrefix && Pairs.size () == 1));
    Pairs.remove_suffix (HasSlip ? Pairs.size () % 2 : 0);
    for (; !Pairs.empty (); Pairs.remove_prefix (std::min<std::size_t> (2, Pairs.size ()))) {
      Bytes += static_cast<char> (Value (Pairs.substr (0, 2), 16));
    }
    if (HasSlip) {
      throw InputError (fmt::format ("offset 0x{:X}: expected pairs of hexadecimal digits",
                                     Offset + static_cast<UINT64> (Rest.data () - Start)));
    }
  }
  if (IsDump) {
    LastLine = Bytes.substr (Before);
    DumpOffset += LastLine.size ();
  }
}

} // namespace

std::unique_ptr<TextDecoder>
HexDecoder ()
{
  return std::make_unique<Hex> ();
}
