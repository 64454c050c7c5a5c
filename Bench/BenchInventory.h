/// An inventory of any size, and an error of each class that belongs to one of its devices.
#pragma once

#include <vector>

#include "Record/ErrorClass.h"
#include "Record/ErrorRecord.h"
#include "Record/Inventory.h"

/// Which device of the inventory the error belongs to.
enum class MatchPlace {
  First,
  Last,
  None,
};

class BenchInventory {
public:
  /// Package is that of the processor that reports.
  explicit BenchInventory (UINT8 Package) : ReportingPackage (Package) {}

  /// Fills the inventory with Count devices of type DeviceType; the error that Record gives then
  /// belongs to the one at Place.
  void Fill (UINT8 DeviceType, UINTN Count, MatchPlace Place);

  /// The data of a status code with a fatal error of a class.
  EFI_STATUS_CODE_DATA *Record (UINT8 ErrorClass);

  InventoryInfo Info = {};

private:
  UINT8 ReportingPackage;
  std::vector<InventoryDevice> Devices;
  std::vector<const InventoryDevice *> List;
  std::vector<UINT8> Data;
};
