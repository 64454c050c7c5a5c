#include "Event.h"

#include <cstring>
#include <utility>

#include <fmt/format.h>

#include "FrontOf.h"
#include "Record/ErrorClass.h"
#include "Record/RequestData.h"

bool
NamesDevice (const Event &Event)
{
  return !Event.DeviceId.empty () && Event.DeviceId != "<null string>";
}

Event
DecodeEvent (std::span<const UINT8> Data)
{
  const auto Request = FrontOf<RequestData> (Data);
  return {.ErrorClass = Request.ErrorClass,
          .Severity = Request.EventSeverity,
          .DeviceId = {Request.InstanceId, strnlen (Request.InstanceId, REDFISH_ID_SIZE_MAX)}};
}

std::optional<EventFault>
FindEventFault (std::span<const UINT8> Data)
{
  constexpr UINTN IdOffset = offsetof (RequestData, InstanceId);
  if (Data.size () <= IdOffset || Data.size () > sizeof (RequestData)) {
    return EventFault{CompletionDataLengthInvalid,
                      fmt::format ("expected {} to {} bytes, found {}", IdOffset + 1,
                                   sizeof (RequestData), Data.size ())};
  }
  const auto IsBetween = [] (UINT8 Byte, UINT8 First, UINT8 Last) {
    return Byte >= First && Byte <= Last;
  };
  for (UINTN Offset = 0; Offset < Data.size (); ++Offset) {
    const UINT8 Byte = Data[Offset];
    const auto [IsGood, Expected] = [&] () -> std::pair<bool, const char *> {
      switch (Offset) {
      case offsetof (RequestData, Reserved):
        return {Byte == 0, "0x00"};
      case offsetof (RequestData, ErrorClass):
        return {IsBetween (Byte, ErrorClassProcessor, ErrorClassPcie), "a class, 1 to 3"};
      case offsetof (RequestData, EventSeverity):
        return {IsBetween (Byte, EventSeverityWarning, EventSeverityCritical),
                "a severity, 1 or 2"};
      default:
        return Offset + 1 == Data.size ()
                   ? std::pair (Byte == 0, "the NUL behind the id")
                   : std::pair (IsBetween (Byte, ' ', '~'), "a printable character of the id");
      }
    }();
    if (!IsGood) {
      return EventFault{
          CompletionDataFieldInvalid,
          fmt::format ("byte {}: expected {}, found 0x{:02X}", Offset, Expected, Byte)};
    }
  }
  return std::nullopt;
}

std::string
ErrorClassText (UINT8 ErrorClass)
{
  switch (ErrorClass) {
  case ErrorClassProcessor:
    return "processor";
  case ErrorClassMemory:
    return "memory";
  case ErrorClassPcie:
    return "pcie";
  default:
    return fmt::format ("type {}", ErrorClass);
  }
}

std::string
EventSeverityText (UINT8 Severity)
{
  switch (Severity) {
  case EventSeverityWarning:
    return "Warning";
  case EventSeverityCritical:
    return "Critical";
  default:
    return fmt::format ("severity {}", Severity);
  }
}

std::string
EventText (const Event &Event)
{
  return fmt::format ("{}, {}, \"{}\"", ErrorClassText (Event.ErrorClass),
                      EventSeverityText (Event.Severity), Event.DeviceId);
}
