/// Events as the BMC gets them.
#pragma once

#include <span>
#include <string>

#include "Base.h"

/// What the bytes of a Redfish event command say.
struct Event {
  UINT8 ErrorClass = 0;
  UINT8 Severity = 0;
  std::string DeviceId;
};

/// Decodes the data of the command; bytes that are missing count as zeros.
Event DecodeEvent (std::span<const UINT8> Data);

/// "processor", "memory", "pcie", or "type 4" of a class that has no errors.
std::string ErrorClassText (UINT8 ErrorClass);

/// "Warning" or "Critical", or "severity 3".
std::string EventSeverityText (UINT8 Severity);
