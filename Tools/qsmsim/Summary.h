/// What a whole run came to.
#pragma once

#include <map>
#include <string>
#include <utility>

#include "Outcome.h"

/// Counts of a run's outcomes. They grow with what there is to name, and not with the run.
struct Summary {
  UINTN Records = 0; ///< That were reported.
  UINTN Events = 0;  ///< Records of which the BMC heard.
  UINTN Dropped = 0; ///< Records of which it did not, though nothing went wrong.
  UINTN Faults = 0;  ///< Also of the boot. The run ends at the first.
  UINTN Refused = 0; ///< Files and pieces of files that are no records.

  /// The events by class and severity, and by the id of their device; the drops by the
  /// code of their reason.
  std::map<std::pair<UINT8, UINT8>, UINTN> ByKind;
  std::map<std::string, UINTN> ByDevice;
  std::map<std::string, UINTN> ByReason;

  void Add (const Outcome &Outcome);
};
