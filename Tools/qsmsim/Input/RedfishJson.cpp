#include "RedfishJson.h"

#include <algorithm>

#include <fmt/format.h>

#include "DecodedText.h"
#include "ErrorStatusBlocks.h"
#include "Guid.h"
#include "InputFile.h"
#include "RawRecords.h"
#include "Recognition.h"
#include "SectionRecord.h"

namespace {

using Json = nlohmann::json;

/// Larger values are not read: a collection has its members in memory.
constexpr std::size_t ValueSizeMax = 256 * 1024 * 1024;

constexpr const char *DataKey = "DiagnosticData";
constexpr std::string_view BetweenValues = " \t\r\n,\x1E";

/// Deeper ones are refused.
constexpr std::size_t DepthMax = 100;

/// So much of a line that is no JSON is passed by at once.
constexpr std::size_t LineSizeMax = 4096;

/// The JSON object or array that Window begins with; the rest of the line where there is neither.
struct ValueExtent {
  std::size_t Size;
  bool IsClosed;
};

ValueExtent
MeasureValue (ByteWindow &Window)
{
  const std::string_view Front = Window.Ahead (1);
  if (!Front.starts_with ('{') && !Front.starts_with ('[')) {
    const std::string_view Line = Window.Ahead (LineSizeMax);
    return {std::min (Line.find ('\n'), Line.size ()), true};
  }
  std::size_t Depth = 0;
  bool InString = false;
  std::size_t Size = 0;
  for (; Size < ValueSizeMax && Depth <= DepthMax; ++Size) {
    const std::string_view Text = Window.Ahead (Size + 1);
    if (Text.size () <= Size) {
      return {Text.size (), false};
    }
    const char Character = Text[Size];
    if (InString) {
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
  return {std::min (Size, Window.Ahead (Size).size ()), false};
}

/// Where a value may begin behind one that has no end.
std::size_t
NextLineWithValue (std::string_view Text)
{
  return std::min ({Text.find ("\n{"), Text.find ("\n["), Text.size ()});
}

std::string
TextMember (const Json &Object, const char *Key)
{
  const auto Found = Object.find (Key);
  return Found != Object.end () && Found->is_string () ? Found->get<std::string> () : "";
}

bool
IsEncodedRecord (const Json &Value)
{
  if (!Value.is_string ()) {
    return false;
  }
  const auto &Text = Value.get_ref<const std::string &> ();
  return Text.starts_with ("Q1BFUg") || Text.starts_with ("43504552");
}

/// The severity of an event that the log entry was made from.
UINT32
SectionSeverity (const std::string &EntrySeverity)
{
  return EntrySeverity == "Critical" ? CperSeverityFatal : CperSeverityCorrected;
}

/// The bytes for which Text stands in base64, or those in hexadecimal if only these are a record;
/// none if it is neither.
std::string
Decode (const std::string &Text)
{
  std::string Bytes;
  for (const auto Decoder : {Base64Decoder, HexDecoder}) {
    try {
      std::string Decoded;
      Decoder ()->Decode (Text, 0, Decoded);
      if (BeginsLikeRecord (Decoded) || BeginsLikeErrorStatusBlock (Decoded)) {
        return Decoded;
      }
      Bytes = Bytes.empty () ? Decoded : Bytes;
    } catch (const InputError &) {
      // Not written this way.
    }
  }
  return Bytes;
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
  Json Value;
  std::optional<std::size_t> Broken;
  try {
    Value = Json::parse (Text);
  } catch (const Json::parse_error &Error) {
    Broken = std::max<std::size_t> (Error.byte, 1) - 1;
  } catch (const Json::exception &) {
    Broken = 0; // A number that is too large.
  }
  Window.Take (IsClosed ? Size : NextLineWithValue (Text));
  if (Broken) {
    throw InputError (fmt::format ("offset 0x{:X}: expected well-formed JSON", Offset + *Broken));
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
    if (Key != DataKey && IsEncodedRecord (Child)) {
      Entries.push_back ({.Place = Of, .Key = Key, .Text = Child.get<std::string> ()});
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
  const std::string Decoded = Decode (Of.Text);
  if (BeginsLikeRecord (Decoded) || BeginsLikeErrorStatusBlock (Decoded)) {
    Bytes = std::make_unique<ByteWindow> (Decoded);
    Inner = OpenBytes (*Bytes);
    return std::nullopt;
  }
  const auto Type = ParseGuid (Of.SectionType);
  if (Type && !Decoded.empty ()) {
    return FoundRecord{.Bytes = RecordOfSection (
                           {.Type = *Type, .Severity = SectionSeverity (Of.Severity)}, Decoded),
                       .Place = Place,
                       .Form = Form + ", body of a section, of the log entry's severity"};
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
        Found->Place = Found->Place.empty () ? Place : Place + ", " + Found->Place;
        Found->Form = Found->Form.empty () ? Form : Form + ", " + Found->Form;
        return Found;
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
