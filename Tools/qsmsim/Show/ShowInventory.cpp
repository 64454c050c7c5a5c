#include "Commands.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Boot.h"
#include "DevicePlace.h"
#include "Event.h"
#include "Graph.h"
#include "Options.h"
#include "Record/ErrorClass.h"

namespace {

/// The device with the keys of a platform description.
nlohmann::ordered_json
DeviceJson (const DescribedDevice &Device)
{
  nlohmann::ordered_json Json;
  Json["type"] = ErrorClassText (Device.Type);
  Json["id"] = nullptr;
  if (Device.Id) {
    Json["id"] = *Device.Id;
  }
  switch (Device.Type) {
  case ErrorClassProcessor:
    Json["socket"] = Device.Socket;
    break;
  case ErrorClassMemory:
    Json["socket"] = Device.Socket;
    Json["channel"] = Device.Channel;
    Json["dimm"] = Device.Dimm;
    break;
  case ErrorClassPcie:
    Json["bus"] = Device.Bus;
    Json["device"] = Device.Device;
    Json["function"] = Device.Function;
    break;
  default:
    Json["type"] = Device.Type;
  }
  return Json;
}

} // namespace

void
RunShowInventory (const ShowArguments &Arguments, Console &Console)
{
  const PlatformDescription Platform = PlatformOption (Arguments.Boot.PlatformFile);
  if (Arguments.Dot) {
    SimulatedPlatform Booted (Platform);
    (void)Boot (Booted, ReadBootPlan (Arguments.Boot));
    Console.Out << GraphText (
        Platform, BuildGraph (Platform, SharedTopology ()),
        {.Caption = CountText (Platform.Devices.size (), "device"), .HidesEmptyPorts = true});
    return;
  }
  if (Arguments.Json) {
    nlohmann::ordered_json Json = {{"platform", Platform.Name},
                                   {"inventoryReady", Platform.InventoryReady},
                                   {"devices", nlohmann::ordered_json::array ()}};
    for (const DescribedDevice &Device : Platform.Devices) {
      Json["devices"].push_back (DeviceJson (Device));
    }
    Console.Out << Json.dump (2) << "\n";
    return;
  }
  Console.Out << fmt::format (
      "{}: {} devices, inventory {}\n", Coloured (Console, Colour::Bold, Platform.Name),
      Platform.Devices.size (), Platform.InventoryReady ? "ready" : "not ready");
  for (UINTN Index = 0; Index < Platform.Devices.size (); ++Index) {
    const DescribedDevice &Device = Platform.Devices[Index];
    Console.Out << fmt::format ("{:>5}  {:<9}  {:<27}  {}\n", Index, ErrorClassText (Device.Type),
                                PlaceText (Device.Type, PlaceOfDevice (Device)),
                                Device.Id.value_or ("(null)"));
  }
}
