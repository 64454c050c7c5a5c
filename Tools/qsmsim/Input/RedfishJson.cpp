#include "RedfishJson.h"

#include <algorithm>

#include <fmt/format.h>

#include "DecodedText.h"
#include "Guid.h"
#include "InputFile.h"
#include "Recognition.h"
#include "SectionRecord.h"
#include "TextRuns.h"

namespace {

using Json = nlohmann::json;

/// Larger values are not read: a collection has its members in memory.
constexpr std::size_t ValueSizeMax = 64 * 1024 * 1024;

constexpr const char *DataKey = "DiagnosticData";
constexpr std::string_view BetweenValues = " \t\r\n,\x1E";

/// Deeper ones are refused.
constexpr std::size_t DepthMax = 100;

/// The JSON object or array that Window begins with, as far as it may be one.
struct ValueExtent {
  std::size_t Size;
  bool IsClosed;
};

ValueExtent
MeasureValue (ByteWindow &Window)
{
  std::string_view Text = Window.Ahead (1);
  if (!Text.starts_with ('{') && !Text.starts_with ('[')) {
    return {0, false};
  }
  std::size_t Depth = 0;
  bool InString = false;
  std::size_t Size = 0;
  for (; Size < ValueSizeMax && Depth <= DepthMax; ++Size) {
    if (Text.size () <= Size) {
      Text = Window.Ahead (Size + 1);
    }
    if (Text.size () <= Size) {
      break;
    }
    const char Character = Text[Size];
    if (InString) {
      if (Character == '\n') {
        break; // No string has one.
      }
      Size += Character == '\\' ? 1 : 0;
      InString = Character != '"';
    } else if (Character == '"') {
      InString = true;
    } else if (Character == '{' || Character == '[') {
      ++Depth;
    } else if (Character == '}' || Character == ']') {
      --Depth;
    }
    if (Depth == 0) {
      return {Size + 1, true};
    }
  }
  return {std::min (Size, Text.size ()), false};
}

/// Goes to the next line that begins like a value, behind one that has no end.
void
SkipToLineWithValue (ByteWindow &Window)
{
  for (;;) {
    const std::string_view Text = Window.Ahead (2);
    const std::size_t Found = std::min (Text.find ("\n{"), Text.find ("\n["));
    if (Found != std::string_view::npos || Text.size () < 2) {
      Window.Take (std::min (Found, Text.size ()));
      return;
    }
    Window.Take (Text.size () - 1);
  }
}

/// Whether broken JSON is of records.
bool
SpeaksOfRecords (std::string_view Text)
{
  return Text.find ("CPER") != std::string_view::npos ||
         Text.find (DataKey) != std::string_view::npos || HasRun (Text);
}

std::string
TextMember (const Json &Object, const char *Key)
{
  const auto Found = Object.find (Key);
  return Found != Object.end () && Found->is_string () ? Found->get<std::string> () : "";
}

bool
IsByte (const Json &Value)
{
  return Value.is_number_unsigned () && Value.get<UINT64> () <= 0xFF;
}

/// The text of a value that has a record: as a string, or as an array of its bytes.
std::string
TextWithRecord (const Json &Value)
{
  if (Value.is_string () && HasRun (Value.get_ref<const std::string &> ())) {
    return Value.get<std::string> ();
  }
  if (Value.is_array () && std::ranges::all_of (Value, IsByte)) {
    const auto Bytes = Value.get<std::vector<UINT8>> ();
    const std::string Text = fmt::format ("{:02x}", fmt::join (Bytes, ""));
    return HasRun (Text) ? Text : "";
  }
  return "";
}

/// The bytes for which Text stands in base64, none if it is none.
std::string
DecodeBase64 (const std::string &Text)
{
  try {
    ByteWindow Window (Text);
    DecodedText Decoded (Window, Base64Decoder ());
    std::string Bytes;
    while (Decoded.ReadMore (Bytes)) {
    }
    return Bytes;
  } catch (const InputError &) {
    return "";
  }
}

/// A record of the body of a section. How severe its error was is not in the log entry.
FoundRecord
RecordOfBody (const EFI_GUID &Type, const std::string &EntrySeverity, std::string_view Body)
{
  const bool IsFatal = EntrySeverity == "Critical";
  const UINT32 Severity = IsFatal ? CperSeverityFatal : CperSeverityCorrected;
  return {
      .Bytes = RecordOfSection ({.Type = Type, .Severity = Severity}, Body),
      .Place = {},
      .Form = "body of a section",
      .Notes = {
          {"severity-assumed",
           fmt::format ("the log entry does not say how severe the error was: taken for {}, as its "
                        "own Severity is {}",
                        CperSeverityText (Severity),
                        EntrySeverity.empty () ? "not given" : EntrySeverity)}}};
}

} // namespace

bool
BeginsLikeJson (std::string_view Text)
{
  std::string Front (Text.substr (0, 256));
  std::erase_if (Front, [] (char Character) {
    return BetweenValues.find (Character) != std::string_view::npos;
  });
  return Front.starts_with ("{\"") || Front.starts_with ("[{") || Front.starts_with ("[[");
}

/// Collects what the next value has. Returns false at the end.
bool
RedfishJson::ReadValue ()
{
  while (!Window.Ahead (1).empty () &&
         BetweenValues.find (Window.Ahead (1).front ()) != std::string_view::npos) {
    Window.Take (1);
  }
  if (Window.Ahead (1).empty ()) {
    return false;
  }
  const UINT64 Offset = Window.Offset ();
  const auto [Size, IsClosed] = MeasureValue (Window);
  const std::string_view Text = Window.Ahead (Size).substr (0, Size);
  ++ValueCount;
  if (Size >= ValueSizeMax && !IsClosed) {
    SkipToLineWithValue (Window);
    throw InputError (fmt::format ("offset 0x{:X}: expected a JSON value of at most {} MiB", Offset,
                                   ValueSizeMax >> 20));
  }
  Json Value;
  std::optional<std::size_t> Broken;
  try {
    Value = Json::parse (Text);
  } catch (const Json::parse_error &Error) {
    Broken = std::max<std::size_t> (Error.byte, 1) - 1;
  } catch (const Json::exception &) {
    Broken = 0; // A number that is too large.
  }
  const bool IsOfRecords = Broken && SpeaksOfRecords (Text);
  if (IsClosed) {
    Window.Take (Size);
  } else {
    SkipToLineWithValue (Window);
  }
  if (Broken) {
    const std::string Complaint =
        fmt::format ("offset 0x{:X}: expected well-formed JSON", Offset + *Broken);
    if (IsOfRecords) {
      throw InputError (Complaint);
    }
    throw OtherInputError (Complaint);
  }
  Collect (Value, fmt::format ("value {}", ValueCount));
  return true;
}

void
RedfishJson::Collect (const Json &Value, const std::string &PlaceOfOwner)
{
  if (!Value.is_structured ()) {
    return;
  }
  const std::size_t Before = Entries.size ();
  const std::string Id = Value.is_object () ? TextMember (Value, "Id") : "";
  const std::string Of = Id.empty () ? PlaceOfOwner : fmt::format ("entry {}", Id);
  Entry Found = {.Place = Of};
  for (const auto &[Key, Child] : Value.items ()) {
    std::string Text = Key != DataKey ? TextWithRecord (Child) : "";
    if (!Text.empty ()) {
      Entries.push_back ({.Place = Of, .Key = Key, .Text = std::move (Text)});
    }
    Collect (Child, Of);
  }
  if (!Value.is_object ()) {
    return;
  }
  const auto Cper = Value.find ("CPER");
  const bool HasCper = Cper != Value.end () && Cper->is_object ();
  Found.Text = TextMember (Value, DataKey);
  Found.Key = Found.Text.empty () ? "" : DataKey;
  Found.Type = TextMember (Value, "DiagnosticDataType");
  Found.SectionType = HasCper ? TextMember (*Cper, "SectionType") : "";
  Found.Severity = TextMember (Value, "Severity");
  Found.Uri = TextMember (Value, "AdditionalDataURI");
  const bool Claims = HasCper || Found.Type.starts_with ("CPER");
  if (!Found.Text.empty () || (Claims && Entries.size () == Before)) {
    Entries.push_back (std::move (Found));
  }
}

/// Tells of a record of the entry that is read where and how it was found.
FoundRecord
RedfishJson::Placed (FoundRecord Found) const
{
  Found.Place = Found.Place.empty () ? Place : Place + ", " + Found.Place;
  Found.Form = Found.Form.empty () ? Form : Form + ", " + Found.Form;
  return Found;
}

std::optional<FoundRecord>
RedfishJson::Open (const Entry &Of)
{
  if (Of.Key.empty ()) {
    throw InputError (
        fmt::format ("{}: expected {} with the record{}", Of.Place, DataKey,
                     Of.Uri.empty () ? "" : fmt::format (", which is still at {}", Of.Uri)));
  }
  Place = Of.Place;
  Form = fmt::format ("{}, {}", Of.Key == DataKey ? "Redfish log entry" : "JSON", Of.Key);
  Encoded = std::make_unique<ByteWindow> (Of.Text);
  Inner = OpenTextWithRecord (*Encoded);
  if (Inner) {
    return std::nullopt;
  }
  const auto Type = ParseGuid (Of.SectionType);
  const std::string Body = Type ? DecodeBase64 (Of.Text) : "";
  if (!Body.empty ()) {
    return Placed (RecordOfBody (*Type, Of.Severity, Body));
  }
  if (Of.Type.starts_with ("CPER") || !Of.SectionType.empty ()) {
    throw InputError (fmt::format ("{}: expected an error record in base64 in {}", Place, Of.Key));
  }
  return std::nullopt; // A dump of another kind.
}

std::optional<FoundRecord>
RedfishJson::Next ()
{
  for (;;) {
    if (Inner) {
      if (auto Found = Inner->Next ()) {
        return Placed (std::move (*Found));
      }
      Inner.reset ();
    }
    if (Entries.empty ()) {
      if (!ReadValue ()) {
        return std::nullopt;
      }
      continue; // The value may have none.
    }
    const Entry First = std::move (Entries.front ());
    Entries.pop_front ();
    if (auto Found = Open (First)) {
      return Found;
    }
  }
}
