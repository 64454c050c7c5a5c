#include <sstream>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "MachineRun.h"

namespace {

/// A heading and lines below it, indented; nothing if there are none.
void
PrintSection (Console &Console, const char *Heading, const std::string &Text)
{
  if (Text.empty ()) {
    return;
  }
  Console.Out << Coloured (Console, Colour::Bold, Heading) << "\n";
  std::istringstream Lines (Text);
  for (std::string Line; std::getline (Lines, Line);) {
    if (Line.ends_with ('\r')) {
      Line.pop_back ();
    }
    Console.Out << "  " << Line << "\n";
  }
}

} // namespace

void
PrintReport (const RunReport &Report, Console &Console)
{
  PrintSection (Console, "RAS log (COM1):", Report.RasLog);
  PrintSection (Console, "debug log:", Report.DebugLog);
  PrintSection (Console, "QEMU:", Report.QemuLog);
  PrintSection (Console, "state:", fmt::format ("{}", fmt::join (Report.State, "\n")));
  for (const RunReport::Step &Step : Report.Steps) {
    std::string Events;
    for (const BmcEvent &Event : Step.Events) {
      Events += fmt::format ("event {}: {}, {}, \"{}\"\n  {}\n", Event.Sequence, Event.Class,
                             Event.Severity, Event.Id, Event.Bytes);
    }
    PrintSection (Console,
                  fmt::format ("{}@{}:", Step.Error.Kind->Name, TargetText (Step.Error)).c_str (),
                  Events.empty () ? "no event" : Events);
  }
  PrintSection (Console, "processors:", Report.Processors);
  if (!Report.Directory.empty ()) {
    Console.Out << "kept: " << Report.Directory << "\n";
  }
  if (!Report.Fault.empty ()) {
    Console.Out << Coloured (Console, Colour::Red, "fault: " + Report.Fault) << "\n";
  }
}

void
PrintReportJson (const RunReport &Report, Console &Console)
{
  using Json = nlohmann::ordered_json;
  Json Injections = Json::array ();
  for (const RunReport::Step &Step : Report.Steps) {
    Json Events = Json::array ();
    for (const BmcEvent &Event : Step.Events) {
      Events.push_back ({{"sequence", Event.Sequence},
                         {"class", Event.Class},
                         {"severity", Event.Severity},
                         {"id", Event.Id},
                         {"bytes", Event.Bytes}});
    }
    Injections.push_back (
        {{"kind", Step.Error.Kind->Name}, {"target", TargetText (Step.Error)}, {"events", Events}});
  }
  const auto TextOrNull = [] (const std::string &Text) {
    return Text.empty () ? Json () : Json (Text);
  };
  const Json Document = {{"rasLog", Report.RasLog},
                         {"debugLog", Report.DebugLog},
                         {"qemuLog", Report.QemuLog},
                         {"state", Report.State},
                         {"injections", Injections},
                         {"processors", TextOrNull (Report.Processors)},
                         {"kept", TextOrNull (Report.Directory)},
                         {"fault", TextOrNull (Report.Fault)}};
  Console.Out << Document.dump (2, ' ', false, Json::error_handler_t::replace) << "\n";
}
