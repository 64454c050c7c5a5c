#include "ReportWriter.h"

#include <fmt/format.h>

#include "Event.h"
#include "RecordText.h"

namespace {

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
      PrintRecord (Target, Outcome.File->Name, Decoder.Describe (Outcome.File->Bytes));
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
      PrintEvent (Target, Request);
    }
    if (!Outcome.Fault.empty ()) {
      Target.Out << "  " << Coloured (Target, Colour::Red, "fault: " + Outcome.Fault) << "\n";
    }
    if (!Outcome.DropReason.empty ()) {
      Target.Out << "  " << Coloured (Target, Colour::Yellow, "dropped: " + Outcome.DropReason)
                 << (Outcome.DropLine.empty () ? "" : fmt::format (" (\"{}\")", Outcome.DropLine))
                 << "\n";
    }
  }

  void
  Close (const Summary &Summary) override
  {
    if (Summary.Given > 1) {
      Target.Out << fmt::format ("{} records: {} events, {} dropped, {} faults, {} not reported\n",
                                 Summary.Given, Summary.Events, Summary.Dropped, Summary.Faults,
                                 Summary.Given - Summary.Reported);
    }
  }

private:
  Console &Target;
  const RecordDecoder &Decoder;
  bool WithLog;
};

} // namespace

std::unique_ptr<ReportWriter>
TextReport (Console &Console, const RecordDecoder &Decoder, bool WithLog)
{
  return std::make_unique<TextWriter> (Console, Decoder, WithLog);
}
