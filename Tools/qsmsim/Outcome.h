/// What came of reported records.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "CperFile.h"
#include "DropReason.h"
#include "SimulatedPlatform.h"

/// One call into the platform, and how it ended: in events, with the record dropped, or in a fault.
struct Outcome {
  const CperFile *File = nullptr; ///< The record; null for a step of the boot.
  std::vector<std::string> Log;   ///< Lines without their ends; empty ones are left out.
  std::vector<BmcRequest> Events; ///< Which the BMC has taken,
  std::vector<BmcRequest> Lost;   ///< and those that were sent and that it has not.
  std::string Fault;              ///< What went wrong.

  /// Why there is no event, in a record that was dropped; of a fault, if the log tells it.
  std::optional<DropReason> Dropped;
};

/// Judges how a step of the boot has ended.
Outcome JudgeStep (CallResult Result);

/// Judges how the report of a record has ended.
Outcome JudgeReport (const ReportedRecord &Reported, CallResult Result);

/// Of a call that the platform or the machine broke off.
Outcome JudgeFault (const CperFile *File, std::string Fault, const std::vector<DebugLine> &Log);
