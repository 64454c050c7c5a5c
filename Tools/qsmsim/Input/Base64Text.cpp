#include "DecodedText.h"

#include <fmt/format.h>

#include "InputFile.h"

namespace {

constexpr std::string_view Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// They are the margins of a line, and may stand between groups of four characters, at which no
/// bits wait: words of other text are hardly so.
constexpr std::string_view Blanks = " \t\r";

/// The alphabet that is safe in URLs and file names has two other characters.
char
StandardCharacter (char Character)
{
  switch (Character) {
  case '-':
    return '+';
  case '_':
    return '/';
  default:
    return Character;
  }
}

class Base64 : public TextDecoder {
public:
  void
  Decode (std::string_view Line, UINT64 Offset, std::string &Bytes) override
  {
    const std::size_t End = Line.find_last_not_of (Blanks) + 1; // npos + 1 is 0.
    for (std::size_t Index = Line.find_first_not_of (Blanks); Index < End; ++Index) {
      if (Line[Index] == '=') {
        BitCount = 0;
        continue;
      }
      const std::size_t Value = Alphabet.find (StandardCharacter (Line[Index]));
      if (Value != std::string_view::npos) {
        Add (static_cast<UINT32> (Value), Bytes);
      } else if (BitCount != 0 || Blanks.find (Line[Index]) == std::string_view::npos) {
        throw InputError (
            fmt::format ("offset 0x{:X}: expected a character of base64", Offset + Index));
      }
    }
  }

private:
  UINT32 Bits = 0;
  unsigned BitCount = 0; ///< Number of the low bits that wait for more.

  void
  Add (UINT32 Value, std::string &Bytes)
  {
    Bits = Bits << 6 | Value;
    BitCount += 6;
    if (BitCount >= 8) {
      BitCount -= 8;
      Bytes += static_cast<char> (Bits >> BitCount & 0xFF);
    }
  }
};

} // namespace

std::unique_ptr<TextDecoder>
Base64Decoder ()
{
  return std::make_unique<Base64> ();
}
