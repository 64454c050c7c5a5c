#include "DecodeRedfish.h"

#include <algorithm>
#include <cctype>

#include <fmt/format.h>

#include "Record/ErrorClass.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr const char *SystemPath = "/redfish/v1/Systems/system";

/// How a class is written.
struct ClassNames {
  const char *Message, *MessageKey, *Collection;
};

ClassNames
NamesOf (UINT8 ErrorClass)
{
  switch (ErrorClass) {
  case ErrorClassProcessor:
    return {"processor", "Processor", "Processors"};
  case ErrorClassMemory:
    return {"memory", "Memory", "Memory"};
  default:
    return {"PCIe", "Pcie", "PCIeDevices"};
  }
}

/// The text as a segment of a path (RFC 3986, 2.1 and 3.3).
std::string
PathSegment (const std::string &Text)
{
  std::string Segment;
  for (const char Character : Text) {
    if (std::isalnum (static_cast<unsigned char> (Character)) != 0 ||
        std::string_view ("-._~").find (Character) != std::string_view::npos) {
      Segment += Character;
    } else {
      Segment += fmt::format ("%{:02X}", static_cast<UINT8> (Character));
    }
  }
  return Segment;
}

std::string
DeviceText (const FoundEvent &Found)
{
  const std::string &Id = Found.DeviceId;
  if (!NamesDevice (Found)) {
    return "a device without an id";
  }
  return Found.IdMayBeCut ? "a device whose id begins with " + Id : Id;
}

} // namespace

Json
RedfishEntry (const FoundEvent &Found)
{
  const ClassNames Names = NamesOf (Found.ErrorClass);
  const std::string Severity = EventSeverityText (Found.Severity);
  const std::string Id = fmt::format ("{}", Found.Number.value_or (1));

  Json Entry = {
      {"@odata.type", "#LogEntry.v1_15_0.LogEntry"},
      {"@odata.id", fmt::format ("{}/LogServices/EventLog/Entries/{}", SystemPath, Id)},
      {"Id", Id},
      {"Name", "Hardware error"},
      {"EntryType", "Event"},
      {"Severity", Severity},
  };
  if (Found.Time) {
    Entry["Created"] = *Found.Time;
  }
  const std::string Device = DeviceText (Found);
  Entry["Message"] = fmt::format ("A {} error was reported for {}.", Names.Message, Device);
  Entry["MessageId"] = fmt::format ("VelmoraQsm.1.0.{}{}", Names.MessageKey, Severity);
  Entry["MessageArgs"] = {Device};
  if (NamesDevice (Found) && !Found.IdMayBeCut) {
    Entry["Links"]["OriginOfCondition"]["@odata.id"] =
        fmt::format ("{}/{}/{}", SystemPath, Names.Collection, PathSegment (Found.DeviceId));
  }
  return Entry;
}
