/// In what the three error classes differ. The walk itself is the same for all.
#pragma once

#include "VelmoraQsmErrorHandler.h"

/// The log lines of an event of one severity. A null stands for a line that the class does not
/// have.
struct EventMessages {
  const CHAR8 *Found;   ///< Takes the device's id as the inventory has it.
  const CHAR8 *Device;  ///< Takes nothing.
  const CHAR8 *Command; ///< Takes the id as it goes to the BMC.
};

struct ErrorClassRules {
  ErrorClass Class;

  /// Whether the error belongs to the device, which is of this class. Logs as it compares.
  bool (*Matches) (const InventoryDevice *Device, const ErrorRecord *Record);

  /// The device's Redfish id: ASCII with a NUL, or null.
  const CHAR8 *(*RedfishId) (const InventoryDevice *Device);

  /// Where the id is composed.
  EFI_MEMORY_TYPE PoolType;

  /// Asserted on the status of the allocation; null in a class that does not look at it.
  const SourceSite *PoolAllocated;

  /// The event's severity by the record's ErrorSeverity. The last one serves
  /// CperSeverityInformational and everything above it.
  EventSeverity Severity[CperSeverityInformational + 1];

  EventMessages Warning;
  EventMessages Critical;
};

/// The rules of a class; null for a value that is none.
const ErrorClassRules *FindErrorClassRules (UINT8 Class);
