/// The system inventory: its records are filled from plain rows.
#pragma once

#include "Record/ErrorClass.h"
#include "Record/Inventory.h"

inline constexpr UINTN InventoryDeviceMax = 512;

/// One device. Only the fields of its type are looked at; all other bytes of its record hold
/// garbage, as other publishers' fields would.
struct InventoryRow {
  UINT8 Type = 0;                          ///< An enum ErrorClass, or any other value.
  UINT64 Socket = 0;                       ///< Of a processor; the low 8 bits, of a memory device.
  UINT8 Channel = 0, Dimm = 0;             ///< Of a memory device.
  UINT8 Bus = 0, Device = 0, Function = 0; ///< Of a PCIe device.

  bool operator== (const InventoryRow &) const = default;
};

extern "C" {

/// The published record. A test may set DataReady and DeviceCount.
extern InventoryInfo gInventory;

/// Empty and ready, installed.
VOID SystemInventoryReset ();

/// Appends a device to the list. Id is its Redfish id, ASCII with a NUL, or null; it stays the
/// caller's for the boot.
VOID SystemInventoryAdd (const InventoryRow *Row, const CHAR8 *Id);
}
