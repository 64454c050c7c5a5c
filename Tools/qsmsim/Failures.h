/// Failures of the platform that a report plays.
#pragma once

#include "Commands.h"
#include "SimulatedPlatform.h"

/// When the inventory is there for the driver.
enum class InventoryState {
  AsDescribed, ///< When the driver is loaded; ready, if the platform's description says so.
  NotReady,    ///< When the driver is loaded, but not filled yet.
  Late         ///< Not when the driver is loaded.
};

struct FailurePlan {
  std::optional<BmcAnswer> Bmc;
  InventoryState Inventory;
  bool PoolExhausted;

  /// Before the drivers are loaded.
  void PlayAtBoot (SimulatedPlatform &Platform) const;

  /// Between the boot and the first record.
  void PlayAtReports () const;
};

/// Reads what the arguments name. Throws InputError for what does not fit.
FailurePlan ReadFailurePlan (const FailureArguments &Arguments);

/// Reads the status code by which records are reported, if one is given, into Options.
void ReadStatusCode (const FailureArguments &Arguments, ReportOptions &Options);
