#include "ReportWriter.h"

#include <fmt/format.h>

#include "Boot.h"
#include "Event.h"
#include "Graph.h"
#include "Record/ErrorClass.h"
#include "Record/RequestData.h"
#include "ToolRun.h"

namespace {

/// What an event calls a device.
std::string
EventId (const DescribedDevice &Device)
{
  return Device.Id.value_or ("<null string>").substr (0, REDFISH_ID_SIZE_MAX - 1);
}

class DotWriter : public ReportWriter {
public:
  DotWriter (Console &Console, const PlatformDescription &Described)
      : Target (Console), Platform (Described)
  {
  }

  void
  Take (const Outcome &Outcome) override
  {
    // The topology is the boot's, which has gone when the report ends.
    if (!Topology) {
      Topology = SharedTopology ();
    }
    for (const BmcRequest &Request : Outcome.Events) {
      AddBlame (DecodeEvent (Request.Data));
    }
    if (!Outcome.Fault.empty ()) {
      Complain (Target, "qsmsim", Outcome.Fault);
    }
  }

  void
  Close (const Summary &Summary) override
  {
    Legend.Caption =
        fmt::format ("{}: {} with an event, {} dropped", CountText (Summary.Records, "record"),
                     Summary.Events, Summary.Dropped);
    Target.Out << GraphText (Platform, BuildGraph (Platform, Topology), Legend);
  }

private:
  /// An id that several devices of the class have blames all of them, as it does at the BMC.
  void
  AddBlame (const Event &Event)
  {
    for (UINTN Index = 0; Index < Platform.Devices.size (); ++Index) {
      const DescribedDevice &Device = Platform.Devices[Index];
      if (Device.Type == Event.ErrorClass && EventId (Device) == Event.DeviceId) {
        Blame &Blame = Legend.Blames[Index];
        ++(Event.Severity == EventSeverityCritical ? Blame.Criticals : Blame.Warnings);
      }
    }
  }

  Console &Target;
  const PlatformDescription &Platform;
  std::optional<IioTopologyStore> Topology;
  GraphLegend Legend = {.Caption = "", .HidesEmptyPorts = true};
};

} // namespace

std::unique_ptr<ReportWriter>
DotReport (Console &Console, const PlatformDescription &Platform)
{
  return std::make_unique<DotWriter> (Console, Platform);
}
