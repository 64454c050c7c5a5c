/// The system inventory: its records are filled from plain rows.
#pragma once

#include "Record/ErrorClass.h"
#include "Record/Inventory.h"

inline constexpr UINTN InventoryDeviceMax = 512;

/// One device. Only the fields of its type are looked at; all other bytes of its record hold
/// garbage, as other publishers' fields would.
struct InventoryRow {
  UINT8 Type;          ///< An enum ErrorClass, or any other value.
  const CHAR8 *Id;     ///< Redfish id, ASCII with a NUL, or null. Stays the caller's for the boot.
  UINT64 Socket;       ///< Of a processor; the low 8 bits, of a memory device.
  UINT8 Channel, Dimm; ///< Of a memory device.
  UINT8 Bus;           ///< Of a PCIe device, as the two below.
  UINT8 Device, Function;
};

extern "C" {

/// The published record. A test may set DataReady and DeviceCount.
extern InventoryInfo gInventory;

/// Empty and ready, installed.
VOID SystemInventoryReset ();

/// Appends a device to the list.
VOID SystemInventoryAdd (const InventoryRow *Row);
}
