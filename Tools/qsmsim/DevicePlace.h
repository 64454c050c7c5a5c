/// Where the driver looks for the device of an error, and where devices are.
#pragma once

#include <array>
#include <string>

#include "PlatformDescription.h"
#include "Record/ErrorRecord.h"

/// What the driver compares, the coarsest first, with zeros behind: the socket of a processor;
/// socket, channel and DIMM; PCI bus, device and function.
using DevicePlace = std::array<UINT64, 3>;

/// As the driver reads it from the record, whatever that declares valid. Package is that of the
/// processor that reports.
DevicePlace PlaceOfError (UINT8 ErrorClass, const ErrorRecord &Record, UINT32 Package);

/// All zeros for a device of a type that no error belongs to.
DevicePlace PlaceOfDevice (const InventoryRow &Device);

/// "socket 1", "socket 1, channel 2, dimm 0", "5E:03.0"; empty for a type that has no place.
std::string PlaceText (UINT8 DeviceType, const DevicePlace &Place);

/// "CPU1_C2_D0 (socket 1, channel 2, dimm 0)".
std::string DeviceText (const DescribedDevice &Device);
