#include "Boot.h"

#include "BootView.h"
#include "Graph.h"
#include "Options.h"
#include "ToolRun.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr ShowTopic Topics[] = {
    {"stores", "The buffers that the drivers of a boot share", ViewStores},
    {"hobs", "The hand-off blocks", ViewHobs},
    {"log", "What the start-up has sent by the serial port", ViewLog},
    {"topology", "The sockets with their stacks and root ports, as the drivers share them",
     ViewTopology, true},
    {"pointers", "The static pointer table that the drivers share", ViewPointers},
    {"upi", "The UPI host data that the drivers share", ViewUpi},
};

void
WriteText (Console &Console, const BootPlan &Plan, const BootView &View, const std::string &Fault)
{
  Console.Out << Coloured (Console, Colour::Bold, Plan.Platform.Name) << ": "
              << CountText (Plan.DriverCount, "driver") << ", stage " << StageText (Plan.Stage)
              << ", " << View.Summary << "\n"
              << View.Text;
  if (!Fault.empty ()) {
    Console.Out << "  " << Coloured (Console, Colour::Red, "fault: " + Fault) << "\n";
  }
}

void
WriteJson (Console &Console, const BootPlan &Plan, const BootView &View, const std::string &Fault)
{
  Json Document = {{"platform", Plan.Platform.Name},
                   {"drivers", Plan.DriverCount},
                   {"stage", StageText (Plan.Stage)}};
  Document.update (View.Facts);
  Document["fault"] = Fault.empty () ? Json () : Json (Fault);
  Console.Out << Document.dump (2, ' ', false, Json::error_handler_t::replace) << "\n";
}

/// A picture has no place for the fault.
void
WriteDot (Console &Console, const BootPlan &Plan, const BootView &, const std::string &Fault)
{
  Console.Out << GraphText (Plan.Platform, BuildGraph (Plan.Platform, SharedTopology ()),
                            {.Caption = "stage " + StageText (Plan.Stage)});
  if (!Fault.empty ()) {
    Complain (Console, "qsmsim", Fault);
  }
}

} // namespace

std::span<const ShowTopic>
ShowTopics ()
{
  return Topics;
}

int
RunShow (const ShowTopic &Topic, const ShowArguments &Arguments, Console &Console)
{
  const BootPlan Plan = ReadBootPlan (Arguments.Boot);
  SimulatedPlatform Platform (Plan.Platform);
  const StoreWatch Watch (Platform);
  const Outcome Booted = Boot (Platform, Plan);
  const BootView View = Topic.View ({Platform, Watch});
  const std::string &Fault = Booted.Fault.empty () ? View.Missing : Booted.Fault;
  (Arguments.Dot ? WriteDot : Arguments.Json ? WriteJson : WriteText) (Console, Plan, View, Fault);
  return Fault.empty () ? EXIT_DONE : EXIT_FAULT;
}
