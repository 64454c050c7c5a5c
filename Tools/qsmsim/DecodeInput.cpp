#include "DecodeInput.h"

#include <algorithm>
#include <regex>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "InputFile.h"
#include "Record/RequestData.h"

namespace {

/// Longer than any line that is read.
constexpr UINTN TEXT_SIZE_MAX = 4096;

/// A moment as qsmbmc writes it.
#define TIME_PATTERN "\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ"

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
  static const std::regex Word ("(?:0[xX])?([0-9A-Fa-f]+)");
  static const std::regex Separator ("[\\s,]+");
  std::vector<UINT8> Bytes;
  for (std::sregex_token_iterator Next (Text.begin (), Text.end (), Separator, -1), End;
       Next != End; ++Next) {
    const std::string Found = *Next;
    std::smatch Match;
    if (Found.empty ()) {
      continue;
    }
    if (!std::regex_match (Found, Match, Word) ||
        (Match.length (1) % 2 != 0 && Match.length (1) != 1)) {
      Refuse (fmt::format ("expected bytes in hexadecimal, a line of a log of qsmbmc, or an OEM "
                           "record e0 as ipmitool prints it, found \"{}\"",
                           Found));
    }
    const std::string Digits = Match[1];
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

/// A record as "sel list" prints it, with and without -v and -c; none if the text is no such.
std::optional<FoundEvent>
ReadSelRecord (const std::string &Text)
{
  static const std::regex Line (
      "^\\s*([0-9a-f]{1,4})\\s*[|,].*OEM record e0\\s*[|,]([0-9a-f\\s]+)$", std::regex::icase);
  static const std::regex Data ("OEM Defined\\s*:\\s*([0-9a-f]+)", std::regex::icase);
  static const std::regex Id ("SEL Record ID\\s*:\\s*([0-9a-f]{1,4})", std::regex::icase);
  const auto NumberOf = [] (const std::string &Digits) -> UINT64 {
    return std::stoul (Digits, nullptr, 16);
  };
  std::smatch Match, IdMatch;
  if (std::regex_search (Text, Match, Line)) {
    return EventOfRecord (ReadHex (Match[2]), NumberOf (Match[1]));
  }
  if (std::regex_search (Text, Match, Data)) {
    return EventOfRecord (ReadHex (Match[1]), std::regex_search (Text, IdMatch, Id)
                                                  ? std::optional (NumberOf (IdMatch[1]))
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
      if (!std::regex_match (*Result.Time, std::regex (TIME_PATTERN))) {
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
  static const std::regex Taken ("\\s*(\\d{1,18}): (?:(" TIME_PATTERN "), )?(\\w+, \\w+, \".*\"): "
                                 "([0-9A-F ]+)");
  static const std::regex Sent (
      "\\s*(?:refused: (" TIME_PATTERN "), 0x([0-9A-F]{2}), .*, )?"
      "NetFn 0x([0-9A-F]{2}), LUN (\\d), Cmd 0x([0-9A-F]{2}):([0-9A-F ]*)");
  std::smatch Match;
  const auto Number = [&] (UINTN Group, int Base) {
    return std::stoul (Match[Group], nullptr, Base);
  };
  const auto Time = [&] (UINTN Group) {
    return Match[Group].matched ? std::optional (Match[Group].str ()) : std::nullopt;
  };
  if (std::regex_match (Text, Match, Taken)) {
    FoundEvent Result = EventOf ({.Data = ReadHex (Match[4])});
    Result.Form = EventForm::LogLine;
    CompareWords (Result, Match[3]);
    Result.Number = Number (1, 10);
    Result.Time = Time (2);
    return Result;
  }
  if (std::regex_match (Text, Match, Sent)) {
    FoundEvent Result = EventOf ({.NetFunction = Number (3, 16),
                                  .Lun = Number (4, 10),
                                  .Code = Number (5, 16),
                                  .Data = ReadHex (Match[6])});
    if (Match[1].matched) {
      Result.Form = EventForm::LogLine;
      Result.Time = Time (1);
      Result.Refusal = static_cast<UINT8> (Number (2, 16));
    }
    return Result;
  }
  return std::nullopt;
}

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
