/// Boots of a platform with the drivers that it loads.
#pragma once

#include <filesystem>
#include <string>

#include "Commands.h"
#include "Outcome.h"

/// How far a boot goes.
enum class BootStage {
  Loaded, ///< All drivers are loaded, and more could be.
  Locked, ///< SmmReadyToLock has been signalled.
};

std::string StageText (BootStage Stage);

/// What boots.
struct BootPlan {
  PlatformDescription Platform;
  std::filesystem::path Driver;
  UINTN DriverCount;
  BootStage Stage;
};

/// Reads what the arguments name. Throws InputError for what does not fit.
BootPlan ReadBootPlan (const BootArguments &Arguments);

/// "1 driver", "2 drivers".
std::string CountText (UINTN Count, const std::string &Singular);

/// Reports a record, unless the driver would read beyond its end, and judges how that ended.
Outcome
ReportRecord (SimulatedPlatform &Platform, const CperFile &File, const ReportOptions &Options);

/// Loads the drivers one after the other and goes on to the stage of the plan, up to the first
/// fault. Returns the outcome of the last step.
Outcome Boot (SimulatedPlatform &Platform, const BootPlan &Plan);
