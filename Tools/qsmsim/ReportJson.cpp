#include "ReportWriter.h"

#include <nlohmann/json.hpp>

#include "Event.h"
#include "RecordJson.h"

namespace {

using JsonTree = nlohmann::ordered_json;

void
WriteTextOrNull (JsonAppender &Json, std::string_view Text)
{
  Text.empty () ? Json.Null () : Json.String (Text);
}

void
WriteRequest (JsonAppender &Json, const BmcRequest &Request)
{
  const Event Event = DecodeEvent (Request.Data);
  Json.Key ("netFunction").Number (Request.NetFunction);
  Json.Key ("lun").Number (Request.Lun);
  Json.Key ("command").Number (Request.Command);
  Json.Key ("bytes").String (HexText (Request.Data));
  Json.Key ("class").String (ErrorClassText (Event.ErrorClass));
  Json.Key ("severity").String (EventSeverityText (Event.Severity));
  Json.Key ("id").String (Event.DeviceId);
}

void
WriteEvents (JsonAppender &Json, const std::vector<BmcRequest> &Events)
{
  Json.Key ("events").Open ('[');
  for (const BmcRequest &Request : Events) {
    Json.Open ('{');
    WriteRequest (Json, Request);
    Json.Close ('}');
  }
  Json.Close (']');
}

void
WriteLost (JsonAppender &Json, const std::vector<BmcRequest> &Lost)
{
  Json.Key ("lost").Open ('[');
  for (const BmcRequest &Request : Lost) {
    Json.Open ('{');
    WriteRequest (Json, Request);
    Json.Key ("transportStatus").Number (Request.Status).Key ("completionCode");
    Request.CompletionCode ? Json.Number (*Request.CompletionCode) : Json.Null ();
    Json.Close ('}');
  }
  Json.Close (']');
}

void
WriteReason (JsonAppender &Json, const std::optional<DropReason> &Reason)
{
  Json.Key ("dropped");
  if (!Reason) {
    Json.Null ();
    return;
  }
  Json.Open ('{').Key ("code").String (Reason->Code).Key ("text").String (Reason->Text).Close ('}');
}

/// The object of an outcome, with what its record says ahead.
std::string
OutcomeText (const Outcome &Outcome, const RecordDecoder &Decoder, bool WithLog)
{
  std::string Text;
  JsonAppender Json (Text);
  Json.Open ('{');
  if (Outcome.File != nullptr) {
    WriteRecord (Json, Outcome.File->Name, DescribeFile (Decoder, *Outcome.File));
    WriteTextOrNull (Json.Key ("readAs"), Outcome.File->Form);
  }
  if (WithLog) {
    Json.Key ("log").Open ('[');
    for (const std::string &Line : Outcome.Log) {
      Json.String (Line);
    }
    Json.Close (']');
  }
  WriteEvents (Json, Outcome.Events);
  WriteLost (Json, Outcome.Lost);
  WriteReason (Json, Outcome.Dropped);
  WriteTextOrNull (Json.Key ("fault"), Outcome.Fault);
  Json.Close ('}');
  return Text;
}

/// Bytes that are no UTF-8 are replaced.
std::string
JsonText (const JsonTree &Value, int Indent)
{
  return Value.dump (Indent, ' ', false, JsonTree::error_handler_t::replace);
}

JsonTree
SummaryJson (const Summary &Summary)
{
  JsonTree Kinds = JsonTree::object ();
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
                   {"records", JsonTree::array ()}})
  {
  }

  void
  Take (const Outcome &Outcome) override
  {
    JsonTree Value = JsonTree::parse (OutcomeText (Outcome, Decoder, WithLog));
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
  JsonTree Document;
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
