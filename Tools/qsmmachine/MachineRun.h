/// One run of the emulated machine: boot, errors, closing state.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "BmcProcess.h"
#include "Console.h"
#include "ErrorInjection.h"

/// One error to inject.
struct Injection {
  const ErrorKind *Kind;
  UINTN Number; ///< Of the processor or the device.
};

struct RunPlan {
  /// Directory and BMC are filled in by the run, but for a port at which one listens already.
  MachineOptions Machine;
  std::filesystem::path BmcProgram;
  std::vector<Injection> Injections;
  bool IsKept = false; ///< The directory stays even if all goes well.
  std::string BmcMode =
      {}; ///< Of the run's own BMC, as BmcProcess::SetMode takes it; normal if empty.
  /// Is told what to do when the machine waits for a debugger.
  std::function<void (const std::string &Text)> Tell = {};
};

/// What came of a run, as far as it came.
struct RunReport {
  struct Step {
    Injection Error;
    std::vector<BmcEvent> Events;
  };

  std::string Directory;   ///< Empty unless it stays.
  std::vector<Step> Steps; ///< None if the BMC is not the run's own.
  std::optional<MachineState> State;
  std::string RasLog, DebugLog, QemuLog;
  std::string Fault;      ///< What went wrong.
  std::string Processors; ///< Where they were then; empty if QEMU had not been started.
};

/// Runs the machine. A failure and an interruption by SIGINT or SIGTERM are faults of the report.
/// Nothing of the run stays but the directory, if it is to be kept or QEMU was there when something
/// went wrong. Throws InputError if it cannot be made.
RunReport RunMachine (const RunPlan &Plan);

/// The target as it is written behind "@": "nv1" or "0".
std::string TargetText (const Injection &Error);

/// What the driver's part of the debug log says of an event that the BMC has not taken; empty if it
/// has taken all.
std::string LostEventText (std::string_view Log);

/// Prints a report for people, or as one JSON document.
void PrintReport (const RunReport &Report, Console &Console);
void PrintReportJson (const RunReport &Report, Console &Console);
