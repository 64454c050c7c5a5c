/// What a simulated platform is made of: its processors, the devices of its inventory, and
/// what the boot phases ahead of the drivers have left.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "SystemInventory.h"
#include "TopologyRows.h"

/// One device of the inventory. Fields that do not belong to its type are 0.
struct DescribedDevice : InventoryRow {
  std::optional<std::string> Id; ///< Redfish id; without a value its record has a null pointer.

  bool operator== (const DescribedDevice &) const = default;
};

struct PlatformDescription {
  std::string Name;

  /// One logical processor.
  struct Processor {
    std::string CpuidSet; ///< Name of the recorded CPUID answers that it gives.
    uint32_t ApicId = 0;
    bool X2Apic = false; ///< The local APIC is in MSR mode; else it is memory-mapped.
  };
  std::vector<Processor> Processors; ///< At least one; the first loads the driver.

  std::vector<DescribedDevice> Devices; ///< In the order of the inventory's device list.

  bool InventoryReady = true;

  /// What earlier boot phases have left: bytes of the CMOS RAM by their offsets, the others being
  /// 0, and the mask of the RAS debug log in its hand-off block, if there is one.
  std::map<uint8_t, uint8_t> Cmos = {};
  std::optional<uint32_t> LogLevelMask = std::nullopt;

  /// The sockets; the standard topology of as many as there are packages of processors unless
  /// given.
  std::optional<TopologyRows> Topology = std::nullopt;
};

/// Reads a description in the JSON form of docs/platform.md. Throws InputError with one line that
/// starts with Name, and then has the JSON path of the key and what was expected there.
PlatformDescription ParsePlatformDescription (const std::string &Name, std::string_view Content);

/// The description in a file; the file's name is the name in the error's line.
PlatformDescription LoadPlatformDescription (const std::filesystem::path &File);

/// The platform that stands in where no file is given: Platform/Data/TwoSocket.json.
PlatformDescription BuiltInPlatform ();
