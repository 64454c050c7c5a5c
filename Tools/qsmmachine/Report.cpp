#include <sstream>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "MachineRun.h"

namespace {

using Json = nlohmann::ordered_json;

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

/// As the machine writes it.
std::string
StateText (const MachineState &State)
{
  std::string Text =
      fmt::format ("pool {} blocks {} bytes\nchecksum {:016X} at ready {:016X} now\n",
                   State.PoolBlocks, State.PoolBytes, State.ChecksumAtReady, State.ChecksumNow);
  for (UINTN Number = 0; Number < State.Processors.size (); ++Number) {
    const SmiTimes &Smi = State.Processors[Number];
    Text += fmt::format ("cpu {} smi {} last {} min {} max {}\n", Number, Smi.Count, Smi.Last,
                         Smi.Shortest, Smi.Longest);
  }
  return Text;
}

/// Checksums have more digits than the numbers of many readers.
Json
StateJson (const MachineState &State)
{
  Json Processors = Json::array ();
  for (const SmiTimes &Smi : State.Processors) {
    Processors.push_back (
        {{"smi", Smi.Count}, {"last", Smi.Last}, {"min", Smi.Shortest}, {"max", Smi.Longest}});
  }
  return {{"poolBlocks", State.PoolBlocks},
          {"poolBytes", State.PoolBytes},
          {"checksumAtReady", fmt::format ("0x{:016X}", State.ChecksumAtReady)},
          {"checksumNow", fmt::format ("0x{:016X}", State.ChecksumNow)},
          {"processors", std::move (Processors)}};
}

} // namespace

void
PrintReport (const RunReport &Report, Console &Console)
{
  PrintSection (Console, "RAS log (COM1):", Report.RasLog);
  PrintSection (Console, "debug log:", Report.DebugLog);
  PrintSection (Console, "QEMU:", Report.QemuLog);
  if (Report.State) {
    PrintSection (Console, "state:", StateText (*Report.State));
  }
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
    Console.Out << "kept: " << ShownText (Report.Directory) << "\n";
  }
  if (!Report.Fault.empty ()) {
    Console.Out << Coloured (Console, Colour::Red, "fault: " + Report.Fault) << "\n";
  }
}

void
PrintReportJson (const RunReport &Report, Console &Console)
{
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
                         {"state", Report.State ? StateJson (*Report.State) : Json ()},
                         {"injections", Injections},
                         {"processors", TextOrNull (Report.Processors)},
                         {"kept", TextOrNull (Report.Directory)},
                         {"fault", TextOrNull (Report.Fault)}};
  Console.Out << Document.dump (2, ' ', false, Json::error_handler_t::replace) << "\n";
}
