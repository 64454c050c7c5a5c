#include "ReportWriter.h"

#include <nlohmann/json.hpp>

#include "Event.h"
#include "RecordJson.h"

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
LostJson (const BmcRequest &Request)
{
  Json Result = RequestJson (Request);
  Result["transportStatus"] = Request.Status;
  Result["completionCode"] = Request.CompletionCode ? Json (*Request.CompletionCode) : Json ();
  return Result;
}

Json
DropReasonJson (const std::optional<DropReason> &Reason)
{
  return Reason ? Json{{"code", Reason->Code}, {"text", Reason->Text}} : Json ();
}

Json
OutcomeJson (const Outcome &Outcome, const RecordDecoder &Decoder, bool WithLog)
{
  Json Result = Json::object ();
  if (Outcome.File != nullptr) {
    Result = RecordJson (Outcome.File->Name, Decoder.Describe (Outcome.File->Bytes));
    Result["readAs"] = TextOrNull (Outcome.File->Form);
  }
  if (WithLog) {
    Result["log"] = Outcome.Log;
  }
  Result["events"] = Json::array ();
  for (const BmcRequest &Request : Outcome.Events) {
    Result["events"].push_back (RequestJson (Request));
  }
  Result["lost"] = Json::array ();
  for (const BmcRequest &Request : Outcome.Lost) {
    Result["lost"].push_back (LostJson (Request));
  }
  Result["dropped"] = DropReasonJson (Outcome.Dropped);
  Result["fault"] = TextOrNull (Outcome.Fault);
  return Result;
}

Json
SummaryJson (const Summary &Summary)
{
  Json Kinds = Json::object ();
  for (const auto &[Kind, Count] : Summary.ByKind) {
    Kinds[ErrorClassText (Kind.first)][EventSeverityText (Kind.second)] = Count;
  }
  return {{"records", Summary.Records},         {"events", Summary.Events},
          {"dropped", Summary.Dropped},         {"faults", Summary.Faults},
          {"refused", Summary.Refused},         {"eventsByClass", Kinds},
          {"eventsByDevice", Summary.ByDevice}, {"dropsByReason", Summary.ByReason}};
}

/// Bytes that are no UTF-8 are replaced.
std::string
JsonText (const Json &Value, int Indent)
{
  return Value.dump (Indent, ' ', false, Json::error_handler_t::replace);
}

class JsonLinesWriter : public ReportWriter {
public:
  JsonLinesWriter (Console &Console, const RecordDecoder &OfRecords, bool LogWanted)
      : Target (Console), Decoder (OfRecords), WithLog (LogWanted)
  {
  }

  void
  Take (const Outcome &Outcome) override
  {
    const Json Value = OutcomeJson (Outcome, Decoder, WithLog);
    WriteLine (Outcome.File != nullptr ? Value : Json{{"boot", Value}});
  }

  void
  Close (const Summary &Summary) override
  {
    WriteLine ({{"summary", SummaryJson (Summary)}});
  }

private:
  Console &Target;
  const RecordDecoder &Decoder;
  bool WithLog;

  void
  WriteLine (const Json &Value)
  {
    Target.Out << JsonText (Value, -1) << '\n';
  }
};

class JsonWriter : public ReportWriter {
public:
  JsonWriter (Console &Console, const RecordDecoder &OfRecords, bool LogWanted)
      : Target (Console), Decoder (OfRecords), WithLog (LogWanted),
        Document ({{"platform", OfRecords.PlatformName ()},
                   {"cpu", OfRecords.ReportingProcessor ()},
                   {"records", Json::array ()}})
  {
  }

  void
  Take (const Outcome &Outcome) override
  {
    if (Outcome.File == nullptr) {
      Document["boot"] = OutcomeJson (Outcome, Decoder, WithLog);
    } else {
      Document["records"].push_back (OutcomeJson (Outcome, Decoder, WithLog));
    }
  }

  void
  Close (const Summary &Summary) override
  {
    Document["summary"] = SummaryJson (Summary);
    Target.Out << JsonText (Document, 2) << "\n";
  }

private:
  Console &Target;
  const RecordDecoder &Decoder;
  bool WithLog;
  Json Document;
};

} // namespace

std::unique_ptr<ReportWriter>
JsonLinesReport (Console &Console, const RecordDecoder &Decoder, bool WithLog)
{
  return std::make_unique<JsonLinesWriter> (Console, Decoder, WithLog);
}

std::unique_ptr<ReportWriter>
JsonReport (Console &Console, const RecordDecoder &Decoder, bool WithLog)
{
  return std::make_unique<JsonWriter> (Console, Decoder, WithLog);
}
