#include "Event.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "Record/ErrorClass.h"
#include "Record/RequestData.h"

Event
DecodeEvent (std::span<const UINT8> Data)
{
  RequestData Request = {};
  std::copy_n (Data.begin (), std::min (Data.size (), sizeof (Request)),
               reinterpret_cast<UINT8 *> (&Request));
  return {.ErrorClass = Request.ErrorClass,
          .Severity = Request.EventSeverity,
          .DeviceId = {Request.InstanceId, strnlen (Request.InstanceId, REDFISH_ID_SIZE_MAX)}};
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
