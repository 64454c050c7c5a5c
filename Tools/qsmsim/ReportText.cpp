#include "ReportWriter.h"

#include <fmt/format.h>

#include "Boot.h"
#include "Event.h"
#include "RecordText.h"

namespace {

/// What was sent to the BMC, and under which heading.
void
PrintEvent (Console &Console, const char *Heading, Colour Colour, const BmcRequest &Request)
{
  const std::string Text = EventText (DecodeEvent (Request.Data));
  Console.Out << fmt::format ("  {}: {}\n", Heading, Coloured (Console, Colour, Text))
              << fmt::format ("    NetFn 0x{:02X}, LUN {}, Cmd 0x{:02X}: {}\n", Request.NetFunction,
                              Request.Lun, Request.Command, HexText (Request.Data));
}

void
PrintReason (Console &Console, const std::string &Heading, const DropReason &Reason)
{
  Console.Out << "  " << Coloured (Console, Colour::Yellow, Heading + ": " + Reason.Text)
              << (Reason.Line.empty () ? "" : fmt::format (" (\"{}\")", Reason.Line)) << "\n";
}

void
PrintCount (Console &Console, UINTN Count, const std::string &What)
{
  Console.Out << fmt::format ("{:>8}  {}\n", Count, What);
}

void
PrintSummary (Console &Console, const Summary &Summary)
{
  Console.Out << fmt::format ("{}: {} with events, {} dropped, {} faults, {} refused{}\n",
                              CountText (Summary.Records, "record"), Summary.Events,
                              Summary.Dropped, Summary.Faults, Summary.Refused,
                              Summary.Faults != 0 ? ", the rest not reported" : "");
  if (!Summary.ByKind.empty ()) {
    Console.Out << "  events by class and severity:\n";
  }
  for (const auto &[Kind, Count] : Summary.ByKind) {
    PrintCount (
        Console, Count,
        fmt::format ("{}, {}", ErrorClassText (Kind.first), EventSeverityText (Kind.second)));
  }
  if (!Summary.ByDevice.empty ()) {
    Console.Out << "  events by device:\n";
  }
  for (const auto &[Id, Count] : Summary.ByDevice) {
    PrintCount (Console, Count, fmt::format ("\"{}\"", Id));
  }
  if (!Summary.ByReason.empty ()) {
    Console.Out << "  dropped because:\n";
  }
  for (const auto &[Reason, Count] : Summary.ByReason) {
    PrintCount (Console, Count, Reason);
  }
}

class TextWriter : public ReportWriter {
public:
  TextWriter (Console &Console, const RecordDecoder &OfRecords, bool LogWanted)
      : Target (Console), Decoder (OfRecords), WithLog (LogWanted)
  {
  }

  void
  Take (const Outcome &Outcome) override
  {
    if (Outcome.File != nullptr) {
      PrintRecord (Target, Outcome.File->Name, DescribeFile (Decoder, *Outcome.File));
      const std::string &Form = Outcome.File->Form;
      if (!Form.empty () && (Outcome.File->IsFirst || Form != LastForm)) {
        Target.Out << "  read as " << Form << "\n";
      }
      LastForm = Form;
    } else {
      Target.Out << Coloured (Target, Colour::Bold, "boot") << "\n";
    }
    if (WithLog && !Outcome.Log.empty ()) {
      Target.Out << "  log:\n";
      for (const std::string &Line : Outcome.Log) {
        Target.Out << "    " << Coloured (Target, Colour::Dim, Line) << "\n";
      }
    }
    for (const BmcRequest &Request : Outcome.Events) {
      PrintEvent (Target, "event", Colour::Green, Request);
    }
    for (const BmcRequest &Request : Outcome.Lost) {
      PrintEvent (Target, "lost event", Colour::Yellow, Request);
    }
    if (!Outcome.Fault.empty ()) {
      Target.Out << "  " << Coloured (Target, Colour::Red, "fault: " + Outcome.Fault) << "\n";
    }
    if (Outcome.Dropped) {
      PrintReason (Target, Outcome.Fault.empty () ? "dropped" : "reason", *Outcome.Dropped);
    }
  }

  void
  Close (const Summary &Summary) override
  {
    if (Summary.Records + Summary.Refused > 1) {
      PrintSummary (Target, Summary);
    }
  }

private:
  Console &Target;
  const RecordDecoder &Decoder;
  bool WithLog;
  std::string LastForm; ///< Of the last record; told once as long as it stays the same.
};

} // namespace

std::unique_ptr<ReportWriter>
TextReport (Console &Console, const RecordDecoder &Decoder, bool WithLog)
{
  return std::make_unique<TextWriter> (Console, Decoder, WithLog);
}
