/// An event as a Redfish log entry.
#pragma once

#include <nlohmann/json.hpp>

#include "DecodeInput.h"

/// The LogEntry (v1_15_0) of an event, as docs/event.md maps it: of the system "system", by the
/// number of the line or the record, else 1. Created is left out where the time is not known, the
/// link where the id may be cut.
nlohmann::ordered_json RedfishEntry (const FoundEvent &Found);
