/// Error classes and event severities, as the inventory and the BMC number them.
#pragma once

#include "Base.h"

/// The class of an error, and the type of an inventory device that can have such errors.
enum ErrorClass : UINT8 {
  ErrorClassProcessor = 1,
  ErrorClassMemory = 2,
  ErrorClassPcie = 3,
};

enum EventSeverity : UINT8 {
  EventSeverityNone = 0, ///< No event goes to the BMC.
  EventSeverityWarning = 1,
  EventSeverityCritical = 2,
};
