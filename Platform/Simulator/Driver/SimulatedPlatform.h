/// A whole platform on the host: machine, firmware, BMC and the drivers that a boot loads.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "DriverInstance.h"
#include "HostWorld.h"
#include "PlatformDescription.h"
#include "Record/ErrorRecord.h"
#include "SimulatedMachine.h"

/// How a record lies in memory when the listener reads it.
enum class RecordPlacement {
  Exact,          ///< In a block of just its size: reading beyond it is caught.
  ZeroFilledPage, ///< Followed by zeros up to a page, as a reporter's static buffer would be.
};

/// How a record is reported.
struct ReportOptions {
  UINTN Processor = 0; ///< Index of the reporting processor.
  RecordPlacement Placement = RecordPlacement::Exact;
  EFI_STATUS_CODE_TYPE CodeType = EFI_ERROR_CODE | EFI_ERROR_MAJOR;
  EFI_STATUS_CODE_VALUE Value = HARDWARE_ERROR_STATUS_CODE;
};

/// What came of one call into the drivers, and what its processor did meanwhile.
struct CallResult {
  EFI_STATUS Status = EFI_SUCCESS; ///< Means nothing when Stopped is not empty.
  std::string Stopped; ///< "processor stopped at FILE:LINE" after a dead loop; else empty.
  std::vector<DebugLine> Log;
  std::vector<BmcRequest> Events;

  /// The texts of the log, one behind the other.
  std::string Transcript () const;
};

/// There is one platform at a time in a process. A broken rule of the platform is thrown as
/// PlatformFault or MachineFault. Conditions and results beyond these stand in the firmware's test
/// faces (gFaultPlan, gPools, gDebugService, gInventory, ProtocolRemove, ...), which the
/// constructor resets.
class SimulatedPlatform {
public:
  explicit SimulatedPlatform (const PlatformDescription &Description);
  ~SimulatedPlatform ();
  SimulatedPlatform (const SimulatedPlatform &) = delete;
  SimulatedPlatform &operator= (const SimulatedPlatform &) = delete;

  /// Loads one more driver on the first processor and runs its entry. The instance stays loaded,
  /// whatever its entry returned, as the last element of Drivers.
  CallResult LoadDriver (const std::filesystem::path &SharedObject = BuiltDriver ());

  CallResult SignalReadyToLock ();

  /// Reports an error record as a status code.
  CallResult Report (std::span<const UINT8> Record, const ReportOptions &Options = {});

  /// Reports any status code; Data may be null.
  CallResult ReportStatusCode (EFI_STATUS_CODE_TYPE CodeType,
                               EFI_STATUS_CODE_VALUE Value,
                               EFI_STATUS_CODE_DATA *Data,
                               UINTN Processor = 0);

  const PlatformDescription Description; ///< Owns the texts to which the inventory points.
  SimulatedMachine Machine;
  HostMachine *DriverMachine = &Machine; ///< To which the drivers that are loaded next are bound.
  HostWorld World;
  std::vector<std::unique_ptr<DriverInstance>> Drivers;

private:
  template <typename Callable> CallResult Run (UINTN Processor, Callable &&Call);
};
