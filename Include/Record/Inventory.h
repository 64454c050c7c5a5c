/// The system inventory: which devices the machine has and what the BMC calls them.
///
/// The records belong to the driver that publishes them and are read-only to all others. Fields
/// that this driver does not read are Reserved.
#pragma once

#include "Base.h"

inline constexpr EFI_GUID gOrvSmmSystemInventoryInfoProtocolGuid = {
    0x710D487E, 0x1A44, 0x4B32, {0x9D, 0x5B, 0x4D, 0xB6, 0xA4, 0xA4, 0x43, 0x0D}};

/// One device. Each field but DeviceType is valid for devices of its own type only.
struct [[gnu::packed]] InventoryDevice {
  UINT8 Reserved0[16];
  UINT64 ProcessorSocket;
  UINT8 DeviceType; ///< An enum ErrorClass; devices of any other type match no error.
  UINT8 Reserved1[27];
  UINT8 PciBus;
  UINT8 Reserved2[39];
  UINT8 PciDevFunc; ///< PCI device in bits 7 to 3, function in bits 2 to 0.
  UINT8 Reserved3[109];
  UINT8 MemoryChannel;
  UINT8 Reserved4;
  UINT8 MemoryDimm;
  UINT8 MemorySocket;
  UINT8 Reserved5[330];
  const CHAR8 *PcieRedfishId;
  UINT8 Reserved6[488];
  const CHAR8 *MemoryRedfishId;
  UINT8 Reserved7[304];
  const CHAR8 *ProcessorRedfishId;
};
LAYOUT_OFFSET (InventoryDevice, ProcessorSocket, 0x10);
LAYOUT_OFFSET (InventoryDevice, DeviceType, 0x18);
LAYOUT_OFFSET (InventoryDevice, PciBus, 0x34);
LAYOUT_OFFSET (InventoryDevice, PciDevFunc, 0x5C);
LAYOUT_OFFSET (InventoryDevice, MemoryChannel, 0xCA);
LAYOUT_OFFSET (InventoryDevice, MemoryDimm, 0xCC);
LAYOUT_OFFSET (InventoryDevice, MemorySocket, 0xCD);
LAYOUT_OFFSET (InventoryDevice, PcieRedfishId, 0x218);
LAYOUT_OFFSET (InventoryDevice, MemoryRedfishId, 0x408);
LAYOUT_OFFSET (InventoryDevice, ProcessorRedfishId, 0x540);
LAYOUT_SIZE (InventoryDevice, 0x548);

/// The interface of gOrvSmmSystemInventoryInfoProtocolGuid.
struct [[gnu::packed]] InventoryInfo {
  UINT8 Reserved0[12];
  UINT8 DataReady; ///< 0 until the publisher has filled the device list.
  UINT8 Reserved1[1387];
  UINT64 DeviceCount;
  const InventoryDevice *const *DeviceList; ///< DeviceCount pointers, none of them null.
};
LAYOUT_OFFSET (InventoryInfo, DataReady, 0x0C);
LAYOUT_OFFSET (InventoryInfo, DeviceCount, 0x578);
LAYOUT_OFFSET (InventoryInfo, DeviceList, 0x580);
LAYOUT_SIZE (InventoryInfo, 0x588);
