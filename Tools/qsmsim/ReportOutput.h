/// What came of reported records, for people and for programs.
#pragma once

#include <span>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "Console.h"
#include "CperFile.h"
#include "SimulatedPlatform.h"

/// One call into the platform: a record reported, or a step of the boot.
struct Outcome {
  const CperFile *File = nullptr; ///< Null for a step of the boot.
  CallResult Result;
  std::string Fault; ///< Empty unless the call found one.
};

/// Counts of a run's outcomes.
struct Summary {
  UINTN Given = 0;    ///< Records to report.
  UINTN Reported = 0; ///< Those that were.
  UINTN Events = 0;   ///< Records of which the BMC heard.
  UINTN Dropped = 0;  ///< Records of which it did not, though nothing went wrong.
  UINTN Faults = 0;   ///< Also of the boot.

  void Add (const Outcome &Outcome);
};

void PrintOutcome (Console &Console, const Outcome &Outcome, bool WithLog);
nlohmann::ordered_json OutcomeJson (const Outcome &Outcome, bool WithLog);

void PrintSummary (Console &Console, const Summary &Summary);
nlohmann::ordered_json SummaryJson (const Summary &Summary);
