#include "ReportWriter.h"

#include <fmt/format.h>

#include "Event.h"
#include "Guid.h"

namespace {

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

class TextWriter : public ReportWriter {
public:
  TextWriter (Console &Console, bool LogWanted) : Target (Console), WithLog (LogWanted) {}

  void
  Take (const Outcome &Outcome) override
  {
    if (Outcome.File != nullptr) {
      PrintRecord (Target, *Outcome.File);
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
  bool WithLog;
};

} // namespace

std::unique_ptr<ReportWriter>
TextReport (Console &Console, bool WithLog)
{
  return std::make_unique<TextWriter> (Console, WithLog);
}
