#include "ReportOutput.h"

#include <algorithm>
#include <ranges>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Event.h"
#include "Guid.h"

namespace {

/// The lines of a log without their line ends; empty ones are left out.
std::vector<std::string>
LinesOf (std::span<const DebugLine> Log)
{
  std::vector<std::string> Lines;
  for (const DebugLine &Entry : Log) {
    for (const auto Line : std::views::split (Entry.Text, '\n')) {
      if (!Line.empty ()) {
        Lines.emplace_back (Line.begin (), Line.end ());
      }
    }
  }
  return Lines;
}

/// Why a record was dropped, as the log tells it: the reason, and the line that tells it.
struct DropReason {
  std::string Text;
  std::string Line;
};

DropReason
FindDropReason (const std::vector<std::string> &Log)
{
  constexpr struct {
    const char *Start; ///< Of the line.
    const char *Reason;
  } Rows[] = {
      {"[System Inventory Information] Protocol Data NOT Ready", "the inventory is not ready"},
      {"Device is not Found Flag", "no device of the inventory gives an event for it"},
  };
  for (const std::string &Line : Log) {
    for (const auto &Row : Rows) {
      if (Line.starts_with (Row.Start)) {
        return {Row.Reason, Line};
      }
    }
  }
  return {Log.empty () ? "the driver knows no such section, and logs nothing"
                       : "the log does not say why",
          ""};
}

std::string
KindText (const CperDescription &Description)
{
  const std::string Kind =
      Description.Section != nullptr
          ? fmt::format ("{} error", Description.Section->Name)
          : fmt::format ("section of unknown type {}", GuidText (Description.SectionType));
  return fmt::format ("{}, {}", Kind, CperSeverityText (Description.Severity));
}

std::string
FieldsText (const CperDescription &Description)
{
  std::string Text;
  for (const auto &[Field, Value] : Description.Fields) {
    const std::string Number = Field->Shown == Notation::Decimal ? fmt::format ("{}", Value)
                                                                 : fmt::format ("0x{:X}", Value);
    Text += fmt::format ("{}{} {}", Text.empty () ? "" : ", ", Field->Name, Number);
  }
  return Text;
}

void
PrintRecord (Console &Console, const CperFile &File)
{
  const CperDescription Description = DescribeCper (File.Bytes);
  Console.Out << Coloured (Console, Colour::Bold, File.Name) << ": " << KindText (Description)
              << "\n";
  if (!Description.Fields.empty ()) {
    Console.Out << "  " << FieldsText (Description) << "\n";
  }
  if (!Description.FruText.empty ()) {
    Console.Out << "  FRU \"" << Description.FruText << "\"\n";
  }
  for (const std::string &Note : Description.Notes) {
    Console.Out << "  " << Coloured (Console, Colour::Yellow, "note: " + Note) << "\n";
  }
}

void
PrintEvent (Console &Console, const BmcRequest &Request)
{
  const Event Event = DecodeEvent (Request.Data);
  const std::string Text = fmt::format ("{}, {}, \"{}\"", ErrorClassText (Event.ErrorClass),
                                        EventSeverityText (Event.Severity), Event.DeviceId);
  Console.Out << fmt::format ("  event: {}\n", Coloured (Console, Colour::Green, Text))
              << fmt::format ("    NetFn 0x{:02X}, LUN {}, Cmd 0x{:02X}: {}\n", Request.NetFunction,
                              Request.Lun, Request.Command, HexText (Request.Data));
}

nlohmann::ordered_json
EventJson (const BmcRequest &Request)
{
  const Event Event = DecodeEvent (Request.Data);
  return {{"netFunction", Request.NetFunction},
          {"lun", Request.Lun},
          {"command", Request.Command},
          {"bytes", HexText (Request.Data)},
          {"class", ErrorClassText (Event.ErrorClass)},
          {"severity", EventSeverityText (Event.Severity)},
          {"id", Event.DeviceId}};
}

nlohmann::ordered_json
RecordJson (const CperFile &File)
{
  const CperDescription Description = DescribeCper (File.Bytes);
  nlohmann::ordered_json Json;
  Json["file"] = File.Name;
  Json["class"] = nullptr;
  if (Description.Section != nullptr) {
    Json["class"] = Description.Section->Name;
  }
  Json["sectionType"] = GuidText (Description.SectionType);
  Json["severity"] = CperSeverityText (Description.Severity);
  Json["fields"] = nlohmann::ordered_json::object ();
  for (const auto &[Field, Value] : Description.Fields) {
    Json["fields"][Field->Name] = Value;
  }
  Json["fruText"] = Description.FruText;
  Json["notes"] = Description.Notes;
  return Json;
}

} // namespace

void
Summary::Add (const Outcome &Outcome)
{
  Reported += Outcome.File != nullptr ? 1 : 0;
  if (!Outcome.Fault.empty ()) {
    ++Faults;
  } else if (Outcome.Result.Events.empty ()) {
    ++Dropped;
  } else {
    ++Events;
  }
}

void
PrintOutcome (Console &Console, const Outcome &Outcome, bool WithLog)
{
  const std::vector<std::string> Log = LinesOf (Outcome.Result.Log);
  if (Outcome.File != nullptr) {
    PrintRecord (Console, *Outcome.File);
  } else {
    Console.Out << Coloured (Console, Colour::Bold, "boot") << "\n";
  }
  if (WithLog && !Log.empty ()) {
    Console.Out << "  log:\n";
    for (const std::string &Line : Log) {
      Console.Out << "    " << Coloured (Console, Colour::Dim, Line) << "\n";
    }
  }
  for (const BmcRequest &Request : Outcome.Result.Events) {
    PrintEvent (Console, Request);
  }
  if (!Outcome.Fault.empty ()) {
    Console.Out << "  " << Coloured (Console, Colour::Red, "fault: " + Outcome.Fault) << "\n";
  } else if (Outcome.Result.Events.empty ()) {
    const DropReason Reason = FindDropReason (Log);
    Console.Out << "  " << Coloured (Console, Colour::Yellow, "dropped: " + Reason.Text)
                << (Reason.Line.empty () ? "" : fmt::format (" (\"{}\")", Reason.Line)) << "\n";
  }
}

nlohmann::ordered_json
OutcomeJson (const Outcome &Outcome, bool WithLog)
{
  const std::vector<std::string> Log = LinesOf (Outcome.Result.Log);
  nlohmann::ordered_json Json;
  if (Outcome.File != nullptr) {
    Json = RecordJson (*Outcome.File);
  }
  if (WithLog) {
    Json["log"] = Log;
  }
  Json["events"] = nlohmann::ordered_json::array ();
  for (const BmcRequest &Request : Outcome.Result.Events) {
    Json["events"].push_back (EventJson (Request));
  }
  Json["fault"] = nullptr;
  Json["dropped"] = nullptr;
  if (!Outcome.Fault.empty ()) {
    Json["fault"] = Outcome.Fault;
  } else if (Outcome.Result.Events.empty ()) {
    Json["dropped"] = FindDropReason (Log).Text;
  }
  return Json;
}

void
PrintSummary (Console &Console, const Summary &Summary)
{
  Console.Out << fmt::format ("{} records: {} events, {} dropped, {} faults, {} not reported\n",
                              Summary.Given, Summary.Events, Summary.Dropped, Summary.Faults,
                              Summary.Given - Summary.Reported);
}

nlohmann::ordered_json
SummaryJson (const Summary &Summary)
{
  return {{"records", Summary.Given},
          {"reported", Summary.Reported},
          {"events", Summary.Events},
          {"dropped", Summary.Dropped},
          {"faults", Summary.Faults}};
}
