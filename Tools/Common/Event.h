/// Events as the BMC gets them.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "CompletionCode.h"

/// What the bytes of a Redfish event command say.
struct Event {
  UINT8 ErrorClass = 0;
  UINT8 Severity = 0;
  std::string DeviceId;
};

/// Whether the event has an id, and not what stands for none.
bool NamesDevice (const Event &Event);

/// Decodes the data of the command; bytes that are missing count as zeros.
Event DecodeEvent (std::span<const UINT8> Data);

/// What makes data no event, and how a BMC answers it.
struct EventFault {
  CompletionCode Answer;
  std::string Text; ///< What was expected where, and what is there instead.
};

/// The first fault of the data of a command, if there is one.
std::optional<EventFault> FindEventFault (std::span<const UINT8> Data);

/// "processor", "memory", "pcie", or "type 4" of a class that has no errors.
std::string ErrorClassText (UINT8 ErrorClass);

/// "Warning" or "Critical", or "severity 3".
std::string EventSeverityText (UINT8 Severity);

/// 'memory, Warning, "CPU1_C2_D0"'.
std::string EventText (const Event &Event);
