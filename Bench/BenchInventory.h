/// An inventory of any size, and an error of each class that belongs to one of its devices.
#pragma once

#include <string>
#include <vector>

#include "Record/ErrorClass.h"
#include "Record/ErrorRecord.h"
#include "Record/Inventory.h"

/// Which device of the inventory the error belongs to.
enum class MatchPlace {
  First,
  Last,
  None,
  Each, ///< Each matches, and there is no event for the error unless it is one of memory.
};

class BenchInventory {
public:
  /// Package is that of the processor that reports.
  explicit BenchInventory (UINT8 Package) : ReportingPackage (Package) {}

  /// Fills the inventory with Count devices of type DeviceType; the error that Record gives then
  /// belongs to the one at Place.
  void Fill (UINT8 DeviceType, UINTN Count, MatchPlace Place);

  /// The data of a status code with an error of a class, fatal unless each device matches it.
  EFI_STATUS_CODE_DATA *Record (UINT8 ErrorClass);

  InventoryInfo Info = {};
  std::string RedfishId = "CPU1_C2_D0"; ///< Of all devices; not to be changed behind Fill.

private:
  UINT8 ReportingPackage;
  UINT32 ErrorSeverity = CperSeverityFatal;
  std::vector<InventoryDevice> Devices;
  std::vector<const InventoryDevice *> List;
  std::vector<UINT8> Data;
};
