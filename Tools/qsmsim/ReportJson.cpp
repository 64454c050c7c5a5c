#include "ReportWriter.h"

#include <nlohmann/json.hpp>

#include "Event.h"
#include "Guid.h"

namespace {

using Json = nlohmann::ordered_json;

/// The text, or null if it is empty.
Json
TextOrNull (const std::string &Text)
{
  return Text.empty () ? Json () : Json (Text);
}

Json
RequestJson (const BmcRequest &Request)
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

Json
RecordJson (const CperFile &File)
{
  const CperDescription Description = DescribeCper (File.Bytes);
  Json Result;
  Result["file"] = File.Name;
  Result["class"] = nullptr;
  if (Description.Section != nullptr) {
    Result["class"] = Description.Section->Name;
  }
  Result["sectionType"] = GuidText (Description.SectionType);
  Result["severity"] = CperSeverityText (Description.Severity);
  Result["fields"] = Json::object ();
  for (const auto &[Field, Value] : Description.Fields) {
    Result["fields"][Field->Name] = Value;
  }
  Result["fruText"] = Description.FruText;
  Result["notes"] = Description.Notes;
  return Result;
}

Json
OutcomeJson (const Outcome &Outcome, bool WithLog)
{
  Json Result = Outcome.File != nullptr ? RecordJson (*Outcome.File) : Json::object ();
  if (WithLog) {
    Result["log"] = Outcome.Log;
  }
  Result["events"] = Json::array ();
  for (const BmcRequest &Request : Outcome.Events) {
    Result["events"].push_back (RequestJson (Request));
  }
  Result["dropped"] = TextOrNull (Outcome.DropReason);
  Result["fault"] = TextOrNull (Outcome.Fault);
  return Result;
}

class JsonWriter : public ReportWriter {
public:
  JsonWriter (Console &Console, bool LogWanted, const std::string &Platform, UINTN Processor)
      : Target (Console), WithLog (LogWanted),
        Document ({{"platform", Platform}, {"cpu", Processor}, {"records", Json::array ()}})
  {
  }

  void
  Take (const Outcome &Outcome) override
  {
    if (Outcome.File == nullptr) {
      Document["boot"] = OutcomeJson (Outcome, WithLog);
    } else {
      Document["records"].push_back (OutcomeJson (Outcome, WithLog));
    }
  }

  void
  Close (const Summary &Summary) override
  {
    Document["summary"] = {{"records", Summary.Given},
                           {"reported", Summary.Reported},
                           {"events", Summary.Events},
                           {"dropped", Summary.Dropped},
                           {"faults", Summary.Faults}};
    Target.Out << Document.dump (2, ' ', false, Json::error_handler_t::replace) << "\n";
  }

private:
  Console &Target;
  bool WithLog;
  Json Document;
};

} // namespace

std::unique_ptr<ReportWriter>
JsonReport (Console &Console, bool WithLog, const std::string &Platform, UINTN Processor)
{
  return std::make_unique<JsonWriter> (Console, WithLog, Platform, Processor);
}
