#include "DevicePlace.h"

#include <fmt/format.h>

#include "Record/ErrorClass.h"

DevicePlace
PlaceOfError (UINT8 ErrorClass, const ErrorRecord &Record, UINT32 Package)
{
  const auto LowByte = [] (UINT32 Value) { return static_cast<UINT8> (Value); };
  switch (ErrorClass) {
  case ErrorClassProcessor:
    return {LowByte (Package)};
  case ErrorClassMemory:
    return {LowByte (Record.Memory.Node), LowByte (Record.Memory.Card),
            LowByte (Record.Memory.ModuleRank)};
  case ErrorClassPcie:
    return {Record.Pcie.DevBridge.PrimaryOrDeviceBus, Record.Pcie.DevBridge.Device,
            Record.Pcie.DevBridge.Function};
  default:
    return {};
  }
}

DevicePlace
PlaceOfDevice (const InventoryRow &Device)
{
  switch (Device.Type) {
  case ErrorClassProcessor:
    return {Device.Socket};
  case ErrorClassMemory:
    return {static_cast<UINT8> (Device.Socket), Device.Channel, Device.Dimm};
  case ErrorClassPcie:
    return {Device.Bus, Device.Device, Device.Function};
  default:
    return {};
  }
}

std::string
PlaceText (UINT8 DeviceType, const DevicePlace &Place)
{
  const auto [First, Second, Third] = Place;
  switch (DeviceType) {
  case ErrorClassProcessor:
    return fmt::format ("socket {}", First);
  case ErrorClassMemory:
    return fmt::format ("socket {}, channel {}, dimm {}", First, Second, Third);
  case ErrorClassPcie:
    return fmt::format ("{:02X}:{:02X}.{}", First, Second, Third);
  default:
    return "";
  }
}

std::string
DeviceText (const DescribedDevice &Device)
{
  return fmt::format ("{} ({})", Device.Id.value_or ("a device without an id"),
                      PlaceText (Device.Type, PlaceOfDevice (Device)));
}
