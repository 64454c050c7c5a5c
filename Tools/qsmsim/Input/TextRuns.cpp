#include "TextRuns.h"

#include <algorithm>

#include <fmt/format.h>

#include "DecodedText.h"
#include "DumpLines.h"
#include "RawRecords.h"
#include "Record/ErrorRecord.h"

/// How a run begins, what it is made of, and what of that stands for bytes.
struct TextRuns::RunKind {
  std::string_view Start, Characters, Separators;
  std::unique_ptr<TextDecoder> (*Decoder) ();
  std::size_t UnitSize; ///< So many characters stand for whole bytes.
  const char *Form;
};

namespace {

using RunKind = TextRuns::RunKind;

constexpr std::string_view Base64Characters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/-_=";
constexpr std::string_view LineEnds = "\r\n";

constexpr RunKind
HexRun (std::string_view Start, std::string_view Separators = " \t\r\n")
{
  return {.Start = Start,
          .Characters = HEX_DIGITS,
          .Separators = Separators,
          .Decoder = HexDecoder,
          .UnitSize = 2,
          .Form = "hexadecimal"};
}

constexpr RunKind Kinds[] = {
    HexRun ("43504552"),
    HexRun ("43 50 45 52"),
    HexRun ("4350 4552"),
    {"Q1BFUg", Base64Characters, " \t\r\n", Base64Decoder, 4, "base64"},
    HexRun ("43:50:45:52", ":\r\n"),
    HexRun ("43-50-45-52", "-\r\n"),
    HexRun ("43,50,45,52", ",\r\n"),
    HexRun ("0x43 0x50 0x45 0x52", "x \t\r\n"),
    HexRun ("0x43,0x50,0x45,0x52", "x, \t\r\n"),
    HexRun ("0x43, 0x50, 0x45, 0x52", "x, \t\r\n"),
    HexRun (R"(\x43\x50\x45\x52)", "\\x"),
};

constexpr std::size_t StartSizeMax = 22;

/// A longer front of a line is not that of a dump.
constexpr std::size_t LineFrontMax = 1024;

const RunKind *
FindRun (std::string_view Text, std::size_t &Position)
{
  const RunKind *First = nullptr;
  Position = std::string_view::npos;
  for (const RunKind &Kind : Kinds) {
    if (const std::size_t Found = Text.find (Kind.Start); Found < Position) {
      Position = Found;
      First = &Kind;
      Text = Text.substr (0, Found + StartSizeMax);
    }
  }
  return First;
}

/// Whether Character may stand between those of a run, or within a unit of which Begun is there.
bool
IsSeparator (char Character, std::string_view Begun, const RunKind &Kind)
{
  return Kind.Separators.find (Character) != std::string_view::npos &&
         (Begun.empty () || LineEnds.find (Character) != std::string_view::npos ||
          (Begun == "0" && Character == 'x'));
}

/// Decodes and takes the run that Window begins with, up to the end of its record.
std::string
TakeRun (ByteWindow &Window, const RunKind &Kind)
{
  const auto Decoder = Kind.Decoder ();
  std::string Bytes, Unit;
  std::size_t Length = RECORD_SIZE_MAX;
  std::size_t Size = 0;
  std::string_view Text = Window.Ahead (1);
  for (; Bytes.size () < Length; ++Size) {
    if (Size == Text.size ()) {
      Text = Window.Ahead (Size + 1);
    }
    if (Size == Text.size ()) {
      break;
    }
    if (Kind.Characters.find (Text[Size]) != std::string_view::npos) {
      Unit += Text[Size];
    } else if (!IsSeparator (Text[Size], Unit, Kind)) {
      break;
    } else if (Text[Size] == 'x') {
      Unit.clear ();
    }
    if (Unit.size () == Kind.UnitSize) {
      Decoder->Decode (Unit, 0, Bytes);
      Unit.clear ();
      if (Length == RECORD_SIZE_MAX && Bytes.size () >= sizeof (CperRecordHeader)) {
        Length = std::clamp (RecordLengthOf (Bytes), Bytes.size (), RECORD_SIZE_MAX - 1);
      }
    }
  }
  Window.Take (Size);
  Bytes.resize (std::min (Bytes.size (), Length));
  return Bytes;
}

} // namespace

bool
HasRun (std::string_view Text)
{
  std::size_t Position = 0;
  return FindRun (Text, Position) != nullptr;
}

/// Goes to the next run, or to its line and opens the dump if it is the front of one. Returns null
/// if there is no run.
const TextRuns::RunKind *
TextRuns::FindNext ()
{
  for (std::size_t Wanted = StartSizeMax;;) {
    const std::string_view Text = Window.Ahead (Wanted);
    std::size_t Position = 0;
    const RunKind *Found = FindRun (Text, Position);
    if (Found == nullptr && Text.size () < Wanted) {
      return nullptr;
    }
    // A run may have begun at the end of what is there.
    const std::size_t Seen = Found != nullptr ? Position : Text.size () - StartSizeMax + 1;
    const std::size_t Line = Text.substr (0, Seen).rfind ('\n') + 1; // npos + 1 is 0.
    const std::size_t Prefix =
        Found != nullptr && Seen - Line <= LineFrontMax
            ? DumpPrefixSize (Text.substr (Line, Seen - Line), Found->Start[2] == ' ')
            : std::string_view::npos;
    const bool KeepsLine =
        Found != nullptr ? Prefix != std::string_view::npos : Seen - Line <= LineFrontMax;
    Wanted = Text.size () - (KeepsLine ? Line : Seen) + 1;
    Window.Take (KeepsLine ? Line : Seen);
    if (Found != nullptr) {
      Offset = Window.Offset ();
      if (KeepsLine) {
        DumpBytes = std::make_unique<ByteWindow> (std::make_unique<DumpLines> (Window, Prefix));
        Dump = std::make_unique<RawRecords> (*DumpBytes);
      }
      return Found;
    }
  }
}

std::optional<FoundRecord>
TextRuns::Next ()
{
  for (;;) {
    if (Dump) {
      if (auto Found = Dump->Next ()) {
        return Placed (std::move (Found->Bytes), "hex dumps");
      }
      Dump.reset ();
    }
    const RunKind *Found = FindNext ();
    if (Found == nullptr) {
      return std::nullopt;
    }
    if (!Dump) {
      const std::string Bytes = TakeRun (Window, *Found);
      if (Bytes.size () < sizeof (CperRecordHeader)) {
        throw InputError (
            fmt::format ("offset 0x{:X}: expected a record in {}, which ends after {} bytes",
                         Offset, Found->Form, Bytes.size ()));
      }
      return Placed ({Bytes.begin (), Bytes.end ()}, Found->Form);
    }
  }
}

FoundRecord
TextRuns::Placed (std::vector<UINT8> Bytes, const char *Form)
{
  return {.Bytes = std::move (Bytes),
          .Place = fmt::format ("record {} at offset 0x{:X}", ++Count, Offset),
          .Form = fmt::format ("text with records in {}", Form)};
}
