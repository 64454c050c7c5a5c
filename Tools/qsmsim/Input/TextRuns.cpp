#include "TextRuns.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "DecodedText.h"
#include "Record/ErrorRecord.h"

namespace {

/// How a run begins, what it is made of, and what of that stands for bytes.
struct RunKind {
  std::string_view Start, Characters, Fillers;
  std::unique_ptr<TextDecoder> (*Decoder) ();
  std::size_t UnitSize; ///< So many characters stand for whole bytes.
  const char *Form;
};

constexpr std::string_view HexDigits = "0123456789ABCDEFabcdef";
constexpr std::string_view Base64Characters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/-_=";

constexpr RunKind Kinds[] = {
    {"43504552", HexDigits, " \t\r\n", HexDecoder, 2, "text with records in hexadecimal"},
    {"43 50 45 52", HexDigits, " \t\r\n", HexDecoder, 2, "text with records in hexadecimal"},
    {"Q1BFUg", Base64Characters, "\r\n", Base64Decoder, 4, "text with records in base64"},
};

constexpr std::size_t StartSizeMax = 11;

/// Text of the largest record, two digits and a blank a byte, and the line ends in it.
constexpr std::size_t RunSizeMax = 4 * RECORD_SIZE_MAX;

const RunKind *
FindRun (std::string_view Text, std::size_t &Position)
{
  const RunKind *First = nullptr;
  Position = std::string_view::npos;
  for (const RunKind &Kind : Kinds) {
    if (const std::size_t Found = Text.find (Kind.Start); Found < Position) {
      Position = Found;
      First = &Kind;
    }
  }
  return First;
}

/// Decodes the run at the start of Text, up to the end of its record. Returns its size in Text.
std::size_t
DecodeRun (std::string_view Text, const RunKind &Kind, std::string &Bytes)
{
  const auto Decoder = Kind.Decoder ();
  std::size_t Length = RECORD_SIZE_MAX;
  std::string Unit;
  std::size_t Size = 0;
  while (Size < Text.size () && Bytes.size () < Length) {
    const char Character = Text[Size++];
    if (Kind.Characters.find (Character) != std::string_view::npos) {
      Unit += Character;
    } else if (Kind.Fillers.find (Character) == std::string_view::npos) {
      --Size;
      break;
    }
    if (Unit.size () == Kind.UnitSize) {
      Decoder->Decode (Unit, 0, Bytes);
      Unit.clear ();
      if (Length == RECORD_SIZE_MAX && Bytes.size () >= sizeof (CperRecordHeader)) {
        CperRecordHeader Header;
        std::memcpy (&Header, Bytes.data (), sizeof Header);
        Length = std::clamp<std::size_t> (Header.RecordLength, Bytes.size (), RECORD_SIZE_MAX - 1);
      }
    }
  }
  Bytes.resize (std::min (Bytes.size (), Length));
  return Size;
}

} // namespace

std::optional<FoundRecord>
TextRuns::Next ()
{
  for (;;) {
    const std::string_view Text = Window.Ahead (StartSizeMax);
    std::size_t Position = 0;
    const RunKind *Kind = FindRun (Text, Position);
    if (Kind != nullptr) {
      Window.Take (Position);
      const UINT64 Offset = Window.Offset ();
      std::string Bytes;
      Window.Take (DecodeRun (Window.Ahead (RunSizeMax), *Kind, Bytes));
      return FoundRecord{.Bytes = {Bytes.begin (), Bytes.end ()},
                         .Place = fmt::format ("record {} at offset 0x{:X}", ++Count, Offset),
                         .Form = Kind->Form};
    }
    if (Text.size () < StartSizeMax) {
      return std::nullopt;
    }
    // A run may have begun at the end of what is there.
    Window.Take (Text.size () - StartSizeMax + 1);
  }
}
