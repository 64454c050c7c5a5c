#include "DecodeInput.h"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "DecodedText.h"
#include "InputFile.h"
#include "Pattern.h"
#include "Record/RequestData.h"

namespace {

/// Longer than any line that is read.
constexpr UINTN TEXT_SIZE_MAX = 4096;

/// A moment as qsmbmc writes it.
#define TIME_PATTERN "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}Z"

/// What stands behind the record's number and type (IPMI 2.0, table 32-3).
struct [[gnu::packed]] SelRecordData {
  UINT8 ErrorClass;
  UINT8 EventSeverity;
  CHAR8 InstanceId[11];
};
LAYOUT_SIZE (SelRecordData, 13);

/// A command with its address.
struct Command {
  UINT64 NetFunction = REDFISH_EVENT_NET_FUNCTION;
  UINT64 Lun = REDFISH_EVENT_LUN;
  UINT64 Code = REDFISH_EVENT_COMMAND;
  std::vector<UINT8> Data;
};

[[noreturn]] void
Refuse (const std::string &Expected)
{
  throw InputError ("BYTES: " + Expected);
}

[[noreturn]] void
RefuseAs (CompletionCode Answer, const std::string &Expected)
{
  Refuse (fmt::format ("{} (a BMC answers {})", Expected, CompletionCodeText (Answer)));
}

/// The bytes of words of hexadecimal digits; a word of one digit is a byte.
std::vector<UINT8>
ReadHex (const std::string &Text)
{
  constexpr const char *Separators = " \t\n\v\f\r,";
  std::vector<UINT8> Bytes;
  for (std::size_t End = 0, Begin;
       (Begin = Text.find_first_not_of (Separators, End)) != Text.npos;) {
    End = std::min (Text.find_first_of (Separators, Begin), Text.size ());
    const std::string Word = Text.substr (Begin, End - Begin);
    const bool HasPrefix = Word.starts_with ("0x") || Word.starts_with ("0X");
    const std::string Digits = Word.substr (HasPrefix ? 2 : 0);
    if (Digits.empty () || (Digits.size () % 2 != 0 && Digits.size () != 1) ||
        Digits.find_first_not_of (HEX_DIGITS) != Digits.npos) {
      Refuse (fmt::format ("expected bytes in hexadecimal, a line of a log of qsmbmc, or an OEM "
                           "record e0 as ipmitool prints it, found \"{}\"",
                           Word));
    }
    for (std::size_t Index = 0; Index < Digits.size (); Index += 2) {
      Bytes.push_back (static_cast<UINT8> (std::stoul (Digits.substr (Index, 2), nullptr, 16)));
    }
  }
  return Bytes;
}

/// Refuses a command that no BMC takes for an event.
void
ExpectEvent (const Command &Found)
{
  if (Found.NetFunction != REDFISH_EVENT_NET_FUNCTION || Found.Code != REDFISH_EVENT_COMMAND) {
    RefuseAs (CompletionInvalidCommand,
              fmt::format ("expected NetFn 0x{:02X}, Cmd 0x{:02X}, found NetFn 0x{:02X}, Cmd "
                           "0x{:02X}",
                           REDFISH_EVENT_NET_FUNCTION, REDFISH_EVENT_COMMAND, Found.NetFunction,
                           Found.Code));
  }
  if (Found.Lun != REDFISH_EVENT_LUN) {
    RefuseAs (CompletionInvalidForLun,
              fmt::format ("expected LUN {}, found LUN {}", REDFISH_EVENT_LUN, Found.Lun));
  }
  if (const auto Fault = FindEventFault (Found.Data)) {
    RefuseAs (Fault->Answer, Fault->Text);
  }
}

FoundEvent
EventOf (const Command &Found)
{
  ExpectEvent (Found);
  FoundEvent Result (DecodeEvent (Found.Data));
  Result.Bytes = Found.Data;
  Result.IdMayBeCut = Result.DeviceId.size () + 1 == REDFISH_ID_SIZE_MAX;
  return Result;
}

/// The event of a record: that of a command with the same class, severity and id.
FoundEvent
EventOfRecord (const std::vector<UINT8> &Record, std::optional<UINT64> Number)
{
  if (Record.size () != sizeof (SelRecordData)) {
    Refuse (fmt::format ("expected {} bytes of an OEM record e0, found {}", sizeof (SelRecordData),
                         Record.size ()));
  }
  Command Command;
  Command.Data.push_back (0);
  Command.Data.insert (Command.Data.end (), Record.begin (), Record.end ());
  while (Command.Data.size () > offsetof (RequestData, InstanceId) && Command.Data.back () == 0) {
    Command.Data.pop_back ();
  }
  Command.Data.push_back (0);
  FoundEvent Result = EventOf (Command);
  Result.Form = EventForm::SelRecord;
  Result.Bytes = Record;
  Result.Number = Number;
  Result.IdMayBeCut = Result.DeviceId.size () == sizeof (SelRecordData::InstanceId);
  return Result;
}

/// The number of a group that took part in a match.
UINT64
NumberOf (const std::optional<std::string> &Digits, int Base)
{
  return std::stoul (*Digits, nullptr, Base);
}

/// A record as "sel list" prints it, with and without -v and -c; none if the text is no such.
std::optional<FoundEvent>
ReadSelRecord (const std::string &Text)
{
  constexpr auto EitherCase = Pattern::Letters::OfEitherCase;
  static const Pattern Line ("^[[:space:]]*([0-9a-f]{1,4})[[:space:]]*[|,][^\n\r]*OEM record e0"
                             "[[:space:]]*[|,]([0-9a-f[:space:]]+)$",
                             EitherCase);
  static const Pattern Data ("OEM Defined[[:space:]]*:[[:space:]]*([0-9a-f]+)", EitherCase);
  static const Pattern Id ("SEL Record ID[[:space:]]*:[[:space:]]*([0-9a-f]{1,4})", EitherCase);
  if (const auto Found = Line.Search (Text); !Found.empty ()) {
    return EventOfRecord (ReadHex (*Found[2]), NumberOf (Found[1], 16));
  }
  if (const auto Found = Data.Search (Text); !Found.empty ()) {
    const auto Numbered = Id.Search (Text);
    return EventOfRecord (ReadHex (*Found[1]), !Numbered.empty ()
                                                   ? std::optional (NumberOf (Numbered[1], 16))
                                                   : std::nullopt);
  }
  return std::nullopt;
}

/// Keeps what a line says of its event in words, if the bytes say something else.
void
CompareWords (FoundEvent &Found, const std::string &Words)
{
  if (Words != EventText (Found)) {
    Found.Words = Words;
  }
}

/// A line of JSON: of qsmbmc, or the event of a report.
FoundEvent
ReadJson (const std::string &Text)
{
  const auto Json = nlohmann::json::parse (Text, nullptr, false);
  try {
    FoundEvent Result = EventOf ({.NetFunction = Json.value ("netFunction", Command{}.NetFunction),
                                  .Lun = Json.value ("lun", Command{}.Lun),
                                  .Code = Json.value ("command", Command{}.Code),
                                  .Data = ReadHex (Json.at ("bytes"))});
    Result.Form = EventForm::LogLine;
    if (Json.contains ("sequence")) {
      Result.Number = Json["sequence"].get<UINT64> ();
    }
    if (Json.contains ("time")) {
      Result.Time = Json["time"].get<std::string> ();
      static const Pattern Moment ("^" TIME_PATTERN "$");
      if (Moment.Search (*Result.Time).empty ()) {
        Refuse (R"(expected a time like "2026-11-25T09:30:00Z")");
      }
    }
    if (Json.contains ("class")) {
      CompareWords (Result, fmt::format ("{}, {}, \"{}\"", Json["class"].get<std::string> (),
                                         Json.value ("severity", ""), Json.value ("id", "")));
    }
    if (Json.contains ("refused")) {
      Result.Refusal = Json.at ("completionCode").get<UINT8> ();
    }
    return Result;
  } catch (const nlohmann::json::exception &) {
    Refuse (R"(expected a line of a log of qsmbmc, with "bytes", found other JSON)");
  }
}

/// A line as qsmbmc and reports print it; none if the text is no such.
std::optional<FoundEvent>
ReadTextLine (const std::string &Text)
{
  static const Pattern Taken ("^[[:space:]]*([0-9]{1,18}): ((" TIME_PATTERN "), )?"
                              "([[:alnum:]_]+, [[:alnum:]_]+, \"[^\n\r]*\"): ([0-9A-F ]+)$");
  static const Pattern Sent (
      "^[[:space:]]*(refused: (" TIME_PATTERN "), 0x([0-9A-F]{2}), [^\n\r]*, )?"
      "NetFn 0x([0-9A-F]{2}), LUN ([0-9]), Cmd 0x([0-9A-F]{2}):([0-9A-F ]*)$");
  if (const auto Found = Taken.Search (Text); !Found.empty ()) {
    FoundEvent Result = EventOf ({.Data = ReadHex (*Found[5])});
    Result.Form = EventForm::LogLine;
    CompareWords (Result, *Found[4]);
    Result.Number = NumberOf (Found[1], 10);
    Result.Time = Found[3];
    return Result;
  }
  if (const auto Found = Sent.Search (Text); !Found.empty ()) {
    FoundEvent Result = EventOf ({.NetFunction = NumberOf (Found[4], 16),
                                  .Lun = NumberOf (Found[5], 10),
                                  .Code = NumberOf (Found[6], 16),
                                  .Data = ReadHex (*Found[7])});
    if (Found[1]) {
      Result.Form = EventForm::LogLine;
      Result.Time = Found[2];
      Result.Refusal = static_cast<UINT8> (NumberOf (Found[3], 16));
    }
    return Result;
  }
  return std::nullopt;
}

#undef TIME_PATTERN

/// Bare bytes: a record's, or a command's with or without its address in front. The data of an
/// event begin with 0, which neither a record nor an address does.
FoundEvent
ReadBytes (const std::string &Text)
{
  Command Found = {.Data = ReadHex (Text)};
  const std::vector<UINT8> &Bytes = Found.Data;
  const bool IsData = Bytes.empty () || Bytes.front () == 0;
  if (!IsData && Bytes.size () >= 2 && Bytes[1] == REDFISH_EVENT_COMMAND) {
    // The network function alone, as in "ipmitool raw", or with the LUN, as on the wire.
    if (Bytes.front () != REDFISH_EVENT_NET_FUNCTION) {
      Found.NetFunction = Bytes.front () >> 2;
      Found.Lun = Bytes.front () & 3;
    }
    Found.Data.erase (Found.Data.begin (), Found.Data.begin () + 2);
  } else if (!IsData && Bytes.size () == sizeof (SelRecordData)) {
    return EventOfRecord (Bytes, std::nullopt);
  }
  return EventOf (Found);
}

} // namespace

FoundEvent
ReadEvent (const std::string &Text)
{
  if (Text.size () > TEXT_SIZE_MAX) {
    Refuse (fmt::format ("expected at most {} characters, found {}", TEXT_SIZE_MAX, Text.size ()));
  }
  if (const auto Start = Text.find_first_not_of (" \t\n");
      Start != std::string::npos && Text[Start] == '{') {
    return ReadJson (Text);
  }
  if (const auto Record = ReadSelRecord (Text)) {
    return *Record;
  }
  if (const auto Line = ReadTextLine (Text)) {
    return *Line;
  }
  return ReadBytes (Text);
}
