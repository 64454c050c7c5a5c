#include "Commands.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "DecodeInput.h"
#include "DecodeRedfish.h"
#include "InputFile.h"
#include "Record/ErrorClass.h"
#include "Record/RequestData.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr Named<EventForm> Forms[] = {
    {"command", EventForm::Command},
    {"log-line", EventForm::LogLine},
    {"sel-record", EventForm::SelRecord},
};

/// What has happened on the machine, by docs/event.md.
std::string
MeaningText (const Event &Event)
{
  const bool IsCritical = Event.Severity == EventSeverityCritical;
  if (Event.ErrorClass == ErrorClassMemory) {
    return fmt::format ("a memory error that was {}corrected", IsCritical ? "not " : "");
  }
  const char *Class = Event.ErrorClass == ErrorClassPcie ? "PCIe" : "processor";
  return IsCritical ? fmt::format ("a fatal {} error", Class)
                    : fmt::format ("a {} error that was corrected or recoverable", Class);
}

std::string
SourceText (const FoundEvent &Found)
{
  switch (Found.Form) {
  case EventForm::LogLine:
    return Found.Number ? fmt::format ("event {} of the BMC's log", *Found.Number)
                        : "the BMC's log";
  case EventForm::SelRecord:
    return Found.Number ? fmt::format ("record {} of the system event log", *Found.Number)
                        : "a record of the system event log";
  default:
    return "the command's bytes";
  }
}

std::vector<std::string>
Notes (const FoundEvent &Found)
{
  std::vector<std::string> Notes;
  if (!NamesDevice (Found)) {
    Notes.emplace_back (
        "the inventory has the device without an id: which one it was is not known");
  } else if (Found.IdMayBeCut) {
    Notes.push_back (
        fmt::format ("the id may be cut to its first {} characters", Found.DeviceId.size ()));
  }
  if (!Found.Words.empty ()) {
    Notes.push_back ("the line says something else beside the bytes: " + Found.Words);
  }
  if (Found.Refusal) {
    Notes.push_back ("the BMC has refused it: " + CompletionCodeText (*Found.Refusal));
  }
  return Notes;
}

Json
FactsJson (const FoundEvent &Found)
{
  const auto OrNull = [] (const auto &Value) { return Value ? Json (*Value) : Json (); };
  return {{"form", NameOf<EventForm> (Forms, Found.Form)},
          {"number", OrNull (Found.Number)},
          {"time", OrNull (Found.Time)},
          {"class", ErrorClassText (Found.ErrorClass)},
          {"severity", EventSeverityText (Found.Severity)},
          {"id", Found.DeviceId},
          {"idMayBeCut", Found.IdMayBeCut},
          {"words", Found.Words.empty () ? Json () : Json (Found.Words)},
          {"completionCode", OrNull (Found.Refusal)},
          {"bytes", HexText (Found.Bytes)}};
}

void
Print (Console &Console, const FoundEvent &Found)
{
  Console.Out << Coloured (Console, Colour::Bold, EventText (Found)) << ": " << MeaningText (Found)
              << "\n"
              << "  from " << SourceText (Found) << ", " << Found.Time.value_or ("without a time")
              << "\n";
  for (const std::string &Note : Notes (Found)) {
    Console.Out << "  " << Coloured (Console, Colour::Yellow, "note: " + Note) << "\n";
  }
}

} // namespace

void
RunDecode (const DecodeArguments &Arguments, Console &Console)
{
  const FoundEvent Found = ReadEvent (fmt::format ("{}", fmt::join (Arguments.Words, " ")));
  if (Arguments.Redfish && Found.Refusal) {
    throw InputError ("BYTES: expected an event that the BMC has taken, it has refused this one: " +
                      CompletionCodeText (*Found.Refusal));
  }
  if (Arguments.Json || Arguments.Redfish) {
    const Json Document = Arguments.Redfish ? RedfishEntry (Found) : FactsJson (Found);
    Console.Out << Document.dump (2) << "\n";
    return;
  }
  Print (Console, Found);
}
