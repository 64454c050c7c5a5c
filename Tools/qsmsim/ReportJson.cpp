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

/// Member by member: a list in braces would be copied.
Json
RequestJson (const BmcRequest &Request)
{
  const Event Event = DecodeEvent (Request.Data);
  Json Result;
  Result["netFunction"] = Request.NetFunction;
  Result["lun"] = Request.Lun;
  Result["command"] = Request.Command;
  Result["bytes"] = HexText (Request.Data);
  Result["class"] = ErrorClassText (Event.ErrorClass);
  Result["severity"] = EventSeverityText (Event.Severity);
  Result["id"] = Event.DeviceId;
  return Result;
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

/// What came of a record, but for what it says.
Json
OutcomeJson (const Outcome &Outcome, bool WithLog)
{
  Json Result = Json::object ();
  if (Outcome.File != nullptr) {
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

/// Bytes that are no UTF-8 are replaced.
std::string
JsonText (const Json &Value, int Indent)
{
  return Value.dump (Indent, ' ', false, Json::error_handler_t::replace);
}

/// The object of an outcome, with what its record says ahead.
std::string
OutcomeText (const Outcome &Outcome, const RecordDecoder &Decoder, bool WithLog)
{
  std::string Text;
  JsonAppender Object (Text);
  Object.Open ('{');
  if (Outcome.File != nullptr) {
    WriteRecord (Object, Outcome.File->Name, Decoder.Describe (Outcome.File->Bytes));
  }
  Object.Members (JsonText (OutcomeJson (Outcome, WithLog), -1));
  Object.Close ('}');
  return Text;
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

class JsonLinesWriter : public ReportWriter {
public:
  JsonLinesWriter (Console &Console, const RecordDecoder &OfRecords, bool LogWanted)
      : Target (Console), Decoder (OfRecords), WithLog (LogWanted)
  {
  }

  void
  Take (const Outcome &Outcome) override
  {
    const std::string Text = OutcomeText (Outcome, Decoder, WithLog);
    WriteLine (Outcome.File != nullptr ? Text : "{\"boot\":" + Text + "}");
  }

  void
  Close (const Summary &Summary) override
  {
    WriteLine (JsonText ({{"summary", SummaryJson (Summary)}}, -1));
  }

private:
  Console &Target;
  const RecordDecoder &Decoder;
  bool WithLog;

  void
  WriteLine (const std::string &Text)
  {
    Target.Out << Text << '\n';
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
    Json Value = Json::parse (OutcomeText (Outcome, Decoder, WithLog));
    if (Outcome.File == nullptr) {
      Document["boot"] = std::move (Value);
    } else {
      Document["records"].push_back (std::move (Value));
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
