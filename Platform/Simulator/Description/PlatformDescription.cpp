#include "PlatformDescription.h"

#include <algorithm>
#include <limits>

#include <fmt/format.h>

#include "BuiltInPlatform.h"
#include "CpuidSets.h"
#include "DescriptionValue.h"
#include "InputFile.h"
#include "Record/ErrorClass.h"
#include "TopologyDescription.h"

namespace {

constexpr std::size_t FILE_SIZE_MAX = 16 * 1024 * 1024;
constexpr std::size_t PROCESSOR_COUNT_MAX = 1024;
constexpr uint8_t PCI_DEVICE_MAX = 31;
constexpr uint8_t PCI_FUNCTION_MAX = 7;

std::string
ReadCpuidSet (const DescriptionValue &Source)
{
  std::string Name = Source.Text ();
  if (FindCpuidSet (Name) == nullptr) {
    DescriptionValue::Keys Names;
    for (const CpuidSet &Set : AllCpuidSets ()) {
      Names.push_back (Set.Name);
    }
    Source.Refuse (fmt::format ("one of {}", fmt::join (Names, ", ")));
  }
  return Name;
}

/// Appends the processors of one group: such that give the same CPUID answers.
void
ReadProcessors (const DescriptionValue &Group,
                std::vector<PlatformDescription::Processor> &Processors)
{
  PlatformDescription::Processor Processor;
  Processor.CpuidSet = ReadCpuidSet (Group["cpuid"]);
  Processor.X2Apic = Group.Has ("x2apic") && Group["x2apic"].Flag ();

  const auto Append = [&] (uint32_t ApicId, const DescriptionValue &Source) {
    const auto IsSame = [=] (const auto &Other) { return Other.ApicId == ApicId; };
    if (std::any_of (Processors.begin (), Processors.end (), IsSame)) {
      Source.Refuse (fmt::format ("no second processor of APIC id {}", ApicId));
    }
    if (Processors.size () == PROCESSOR_COUNT_MAX) {
      Source.Refuse (fmt::format ("at most {} processors in all", PROCESSOR_COUNT_MAX));
    }
    Processor.ApicId = ApicId;
    Processors.push_back (Processor);
  };

  if (Group.Has ("apicIds")) {
    Group.AllowOnly ({"cpuid", "x2apic", "apicIds"});
    for (const DescriptionValue &ApicId : Group["apicIds"].List ()) {
      Append (ApicId.Number<uint32_t> (), ApicId);
    }
    return;
  }
  Group.AllowOnly ({"cpuid", "x2apic", "first", "count"});
  const auto First = Group["first"].Number<uint32_t> ();
  const DescriptionValue Count = Group["count"];
  const uint32_t Room = std::numeric_limits<uint32_t>::max () - First;
  const uint32_t CountMax = std::min (Room, uint32_t{PROCESSOR_COUNT_MAX - 1}) + 1;
  for (uint32_t Index = 0; Index < Count.Number<uint32_t> (CountMax, 1); ++Index) {
    Append (First + Index, Count);
  }
}

uint8_t
ReadDeviceType (const DescriptionValue &Type)
{
  if (Type.Is ("processor")) {
    return ErrorClassProcessor;
  }
  if (Type.Is ("memory")) {
    return ErrorClassMemory;
  }
  if (Type.Is ("pcie")) {
    return ErrorClassPcie;
  }
  const std::optional<uint64_t> Number = Type.AnyNumber ();
  if (!Number || *Number > std::numeric_limits<uint8_t>::max ()) {
    Type.Refuse ("\"processor\", \"memory\", \"pcie\" or a number from 0 to 255");
  }
  return static_cast<uint8_t> (*Number);
}

DescribedDevice
ReadDevice (const DescriptionValue &Source)
{
  DescribedDevice Device;
  Device.Type = ReadDeviceType (Source["type"]);
  if (const DescriptionValue Id = Source["id"]; !Id.IsNull ()) {
    Device.Id = Id.Text ();
  }
  switch (Device.Type) {
  case ErrorClassProcessor:
    Source.AllowOnly ({"type", "id", "socket"});
    Device.Socket = Source["socket"].Number<uint64_t> ();
    break;
  case ErrorClassMemory:
    Source.AllowOnly ({"type", "id", "socket", "channel", "dimm"});
    Device.Socket = Source["socket"].Number<uint8_t> ();
    Device.Channel = Source["channel"].Number<uint8_t> ();
    Device.Dimm = Source["dimm"].Number<uint8_t> ();
    break;
  case ErrorClassPcie:
    Source.AllowOnly ({"type", "id", "bus", "device", "function"});
    Device.Bus = Source["bus"].Number<uint8_t> ();
    Device.Device = Source["device"].Number<uint8_t> (PCI_DEVICE_MAX);
    Device.Function = Source["function"].Number<uint8_t> (PCI_FUNCTION_MAX);
    break;
  default:
    Source.AllowOnly ({"type", "id"});
  }
  return Device;
}

/// Reads bytes whose keys are their offsets.
std::map<uint8_t, uint8_t>
ReadCmos (const DescriptionValue &Source)
{
  std::map<uint8_t, uint8_t> Bytes;
  for (const auto &[Key, Byte] : Source.Members ()) {
    const std::optional<uint64_t> Offset = ParseNumber (Key);
    if (!Offset || *Offset > std::numeric_limits<uint8_t>::max ()) {
      Byte.RefuseKey ("an offset from 0 to 255 for a key");
    }
    if (!Bytes.emplace (static_cast<uint8_t> (*Offset), Byte.Number<uint8_t> ()).second) {
      Byte.RefuseKey (fmt::format ("offset {} once", *Offset));
    }
  }
  return Bytes;
}

PlatformDescription
ReadPlatform (const DescriptionValue &Source)
{
  PlatformDescription Platform;
  Platform.Name = Source["name"].Text ();
  Source.AllowOnly (
      {"name", "inventoryReady", "processors", "devices", "cmos", "logLevelMask", "sockets"});
  if (Source.Has ("inventoryReady")) {
    Platform.InventoryReady = Source["inventoryReady"].Flag ();
  }
  if (Source.Has ("cmos")) {
    Platform.Cmos = ReadCmos (Source["cmos"]);
  }
  if (Source.Has ("logLevelMask")) {
    Platform.LogLevelMask = Source["logLevelMask"].Number<uint32_t> ();
  }
  if (Source.Has ("sockets")) {
    Platform.Topology = ReadTopology (Source["sockets"]);
  }
  const DescriptionValue Processors = Source["processors"];
  for (const DescriptionValue &Group : Processors.List ()) {
    ReadProcessors (Group, Platform.Processors);
  }
  if (Platform.Processors.empty ()) {
    Processors.Refuse ("at least one processor");
  }
  const DescriptionValue Devices = Source["devices"];
  for (const DescriptionValue &Device : Devices.List ()) {
    Platform.Devices.push_back (ReadDevice (Device));
  }
  if (Platform.Devices.size () > InventoryDeviceMax) {
    Devices.Refuse (fmt::format ("at most {} devices", InventoryDeviceMax));
  }
  return Platform;
}

} // namespace

PlatformDescription
ParsePlatformDescription (const std::string &Name, std::string_view Content)
{
  const nlohmann::json Parsed = ParseDescription (Name, Content);
  return ReadPlatform ({Name, Parsed, "$"});
}

PlatformDescription
LoadPlatformDescription (const std::filesystem::path &File)
{
  return ParsePlatformDescription (File.string (), ReadInputFile (File, FILE_SIZE_MAX));
}

PlatformDescription
BuiltInPlatform ()
{
  return ParsePlatformDescription ("the built-in platform", gBuiltInPlatformText);
}
