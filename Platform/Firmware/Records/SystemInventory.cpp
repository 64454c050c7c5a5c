#include "SystemInventory.h"

#include "FirmwareWorld.h"
#include "ProtocolDatabase.h"
#include "UnknownFields.h"

constinit InventoryInfo gInventory = {};

namespace {

constinit InventoryDevice mDevices[InventoryDeviceMax] = {};
constinit const InventoryDevice *mDeviceList[InventoryDeviceMax] = {};

} // namespace

VOID
SystemInventoryReset ()
{
  __builtin_memset (&gInventory, UnknownFieldPattern, sizeof gInventory);
  gInventory.DataReady = TRUE;
  gInventory.DeviceCount = 0;
  gInventory.DeviceList = mDeviceList;
  ProtocolPublish (ProtocolSmm, &gOrvSmmSystemInventoryInfoProtocolGuid, &gInventory);
}

VOID
SystemInventoryAdd (const InventoryRow *Row, const CHAR8 *Id)
{
  const UINTN Index = gInventory.DeviceCount;
  if (Index >= InventoryDeviceMax) {
    FirmwareFault ("more devices than the inventory holds");
  }
  InventoryDevice *Device = &mDevices[Index];
  __builtin_memset (Device, UnknownFieldPattern, sizeof *Device);
  Device->DeviceType = Row->Type;
  switch (Row->Type) {
  case ErrorClassProcessor:
    Device->ProcessorSocket = Row->Socket;
    Device->ProcessorRedfishId = Id;
    break;
  case ErrorClassMemory:
    Device->MemorySocket = static_cast<UINT8> (Row->Socket);
    Device->MemoryChannel = Row->Channel;
    Device->MemoryDimm = Row->Dimm;
    Device->MemoryRedfishId = Id;
    break;
  case ErrorClassPcie:
    Device->PciBus = Row->Bus;
    Device->PciDevFunc = static_cast<UINT8> (Row->Device << 3 | Row->Function);
    Device->PcieRedfishId = Id;
    break;
  default:
    break;
  }
  mDeviceList[Index] = Device;
  gInventory.DeviceCount = Index + 1;
}
