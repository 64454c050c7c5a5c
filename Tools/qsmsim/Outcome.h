/// What came of reported records.
#pragma once

#include <string>
#include <vector>

#include "CperFile.h"
#include "SimulatedPlatform.h"

/// One call into the platform, and how it ended: in events, with the record dropped, or in a fault.
struct Outcome {
  const CperFile *File = nullptr; ///< The record; null for a step of the boot.
  std::vector<std::string> Log;   ///< Lines without their ends; empty ones are left out.
  std::vector<BmcRequest> Events;
  std::string Fault;      ///< What went wrong.
  std::string DropReason; ///< Why the record was dropped, as the log tells it,
  std::string DropLine;   ///< and the line that tells it, if there is one.
};

Outcome JudgeCall (const CperFile *File, const CallResult &Result);

/// Of a call that the platform or the machine broke off.
Outcome JudgeFault (const CperFile *File, std::string Fault, const std::vector<DebugLine> &Log);

/// Counts of a run's outcomes.
struct Summary {
  UINTN Given = 0;    ///< Records to report.
  UINTN Reported = 0; ///< Those that were.
  UINTN Events = 0;   ///< Records of which the BMC heard.
  UINTN Dropped = 0;  ///< Records of which it did not, though nothing went wrong.
  UINTN Faults = 0;   ///< Also of the boot.

  void Add (const Outcome &Outcome);
};
