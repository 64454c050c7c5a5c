#include "PlatformDescription.h"

#include <algorithm>
#include <limits>
#include <set>
#include <string_view>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "BuiltInPlatform.h"
#include "CpuidSets.h"
#include "InputFile.h"
#include "Record/ErrorClass.h"
#include "SystemInventory.h"

namespace {

using Json = nlohmann::json;
using Keys = std::vector<std::string_view>;

constexpr std::size_t FILE_SIZE_MAX = 16 * 1024 * 1024;
constexpr std::size_t PROCESSOR_COUNT_MAX = 1024;
constexpr uint8_t PCI_DEVICE_MAX = 31;
constexpr uint8_t PCI_FUNCTION_MAX = 7;
constexpr std::size_t SHOWN_VALUE_LENGTH_MAX = 40;

/// One value of a description with the JSON path that leads to it. Its readers refuse whatever is
/// not what they read.
struct Value {
  const std::string &File;
  const Json &Content;
  std::string Path;

  [[noreturn]] void
  Refuse (std::string_view Expected) const
  {
    std::string Found = Content.dump (-1, ' ', true, Json::error_handler_t::replace);
    if (Found.size () > SHOWN_VALUE_LENGTH_MAX) {
      Found = Found.substr (0, SHOWN_VALUE_LENGTH_MAX) + "...";
    }
    throw InputError (fmt::format ("{}: {}: expected {}, found {}", File, Path, Expected, Found));
  }

  /// Refuses the key of this value.
  [[noreturn]] void
  RefuseKey (std::string_view Expected) const
  {
    throw InputError (fmt::format ("{}: {}: expected {}", File, Path, Expected));
  }

  /// Refuses an object that has any other key.
  void
  AllowOnly (const Keys &Allowed) const
  {
    for (const auto &Item : Content.items ()) {
      if (std::find (Allowed.begin (), Allowed.end (), Item.key ()) == Allowed.end ()) {
        Value{File, Item.value (), Below (Item.key ())}.RefuseKey (
            fmt::format ("no such key here, only {}", fmt::join (Allowed, ", ")));
      }
    }
  }

  bool
  Has (std::string_view Key) const
  {
    return Content.is_object () && Content.contains (Key);
  }

  Value
  operator[] (std::string_view Key) const
  {
    if (!Content.is_object ()) {
      Refuse ("an object");
    }
    if (!Has (Key)) {
      throw InputError (fmt::format ("{}: {}: expected a value, found none", File, Below (Key)));
    }
    return {File, Content.at (std::string (Key)), Below (Key)};
  }

  std::vector<Value>
  List () const
  {
    if (!Content.is_array ()) {
      Refuse ("a list");
    }
    std::vector<Value> Elements;
    for (std::size_t Index = 0; Index < Content.size (); ++Index) {
      Elements.push_back ({File, Content[Index], fmt::format ("{}[{}]", Path, Index)});
    }
    return Elements;
  }

  std::vector<std::pair<std::string, Value>>
  Members () const
  {
    if (!Content.is_object ()) {
      Refuse ("an object");
    }
    std::vector<std::pair<std::string, Value>> Found;
    for (const auto &Item : Content.items ()) {
      Found.emplace_back (Item.key (), Value{File, Item.value (), Below (Item.key ())});
    }
    return Found;
  }

  /// A number, or the text of one: JSON has no hexadecimal numbers.
  std::optional<uint64_t>
  AnyNumber () const
  {
    if (Content.is_number_unsigned ()) {
      return Content.get<uint64_t> ();
    }
    return Content.is_string () ? ParseNumber (Content.get_ref<const std::string &> ())
                                : std::nullopt;
  }

  template <typename Unsigned>
  Unsigned
  Number (Unsigned Maximum = std::numeric_limits<Unsigned>::max (), Unsigned Minimum = 0) const
  {
    const std::optional<uint64_t> Read = AnyNumber ();
    if (!Read || *Read < Minimum || *Read > Maximum) {
      Refuse (fmt::format ("a number from {} to {}", Minimum, Maximum));
    }
    return static_cast<Unsigned> (*Read);
  }

  bool
  Flag () const
  {
    if (!Content.is_boolean ()) {
      Refuse ("true or false");
    }
    return Content.get<bool> ();
  }

  /// A text of printable ASCII characters.
  std::string
  Text () const
  {
    const std::string *Read = Content.get_ptr<const std::string *> ();
    if (Read == nullptr || !IsPrintableAscii (*Read)) {
      Refuse ("a text of printable ASCII characters");
    }
    return *Read;
  }

  bool
  IsNull () const
  {
    return Content.is_null ();
  }

  bool
  Is (std::string_view Expected) const
  {
    return Content == Expected;
  }

  std::string
  Below (std::string_view Key) const
  {
    return fmt::format ("{}.{}", Path, Key);
  }
};

std::string
ReadCpuidSet (const Value &Source)
{
  std::string Name = Source.Text ();
  if (FindCpuidSet (Name) == nullptr) {
    Keys Names;
    for (const CpuidSet &Set : AllCpuidSets ()) {
      Names.push_back (Set.Name);
    }
    Source.Refuse (fmt::format ("one of {}", fmt::join (Names, ", ")));
  }
  return Name;
}

/// Appends the processors of one group: such that give the same CPUID answers.
void
ReadProcessors (const Value &Group, std::vector<PlatformDescription::Processor> &Processors)
{
  PlatformDescription::Processor Processor;
  Processor.CpuidSet = ReadCpuidSet (Group["cpuid"]);
  Processor.X2Apic = Group.Has ("x2apic") && Group["x2apic"].Flag ();

  const auto Append = [&] (uint32_t ApicId, const Value &Source) {
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
    for (const Value &ApicId : Group["apicIds"].List ()) {
      Append (ApicId.Number<uint32_t> (), ApicId);
    }
    return;
  }
  Group.AllowOnly ({"cpuid", "x2apic", "first", "count"});
  const auto First = Group["first"].Number<uint32_t> ();
  const Value Count = Group["count"];
  const uint32_t Room = std::numeric_limits<uint32_t>::max () - First;
  const uint32_t CountMax = std::min (Room, uint32_t{PROCESSOR_COUNT_MAX - 1}) + 1;
  for (uint32_t Index = 0; Index < Count.Number<uint32_t> (CountMax, 1); ++Index) {
    Append (First + Index, Count);
  }
}

uint8_t
ReadDeviceType (const Value &Type)
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

PlatformDescription::Device
ReadDevice (const Value &Source)
{
  PlatformDescription::Device Device;
  Device.Type = ReadDeviceType (Source["type"]);
  if (const Value Id = Source["id"]; !Id.IsNull ()) {
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
ReadCmos (const Value &Source)
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
ReadPlatform (const Value &Source)
{
  PlatformDescription Platform;
  Platform.Name = Source["name"].Text ();
  Source.AllowOnly ({"name", "inventoryReady", "processors", "devices", "cmos", "logLevelMask"});
  if (Source.Has ("inventoryReady")) {
    Platform.InventoryReady = Source["inventoryReady"].Flag ();
  }
  if (Source.Has ("cmos")) {
    Platform.Cmos = ReadCmos (Source["cmos"]);
  }
  if (Source.Has ("logLevelMask")) {
    Platform.LogLevelMask = Source["logLevelMask"].Number<uint32_t> ();
  }
  const Value Processors = Source["processors"];
  for (const Value &Group : Processors.List ()) {
    ReadProcessors (Group, Platform.Processors);
  }
  if (Platform.Processors.empty ()) {
    Processors.Refuse ("at least one processor");
  }
  const Value Devices = Source["devices"];
  for (const Value &Device : Devices.List ()) {
    Platform.Devices.push_back (ReadDevice (Device));
  }
  if (Platform.Devices.size () > InventoryDeviceMax) {
    Devices.Refuse (fmt::format ("at most {} devices", InventoryDeviceMax));
  }
  return Platform;
}

/// The parser alone would let the last of several equal keys win.
Json
ParseWithoutRepeatedKeys (const std::string &File, std::string_view Content)
{
  std::vector<std::set<std::string>> KeysSeen;
  const auto Check = [&] (int, Json::parse_event_t Event, const Json &Parsed) {
    if (Event == Json::parse_event_t::object_start) {
      KeysSeen.emplace_back ();
    } else if (Event == Json::parse_event_t::object_end) {
      KeysSeen.pop_back ();
    } else if (Event == Json::parse_event_t::key && !KeysSeen.back ().insert (Parsed).second) {
      throw InputError (fmt::format ("{}: expected each key of an object once, {} comes again",
                                     File, Parsed.dump ()));
    }
    return true;
  };
  try {
    return Json::parse (Content, Check);
  } catch (const Json::parse_error &Error) {
    // The library's text starts with the name of the exception in brackets.
    const std::string_view Text = Error.what ();
    throw InputError (fmt::format ("{}: {}", File, Text.substr (Text.find ("] ") + 2)));
  }
}

} // namespace

PlatformDescription
ParsePlatformDescription (const std::string &Name, std::string_view Content)
{
  const Json Parsed = ParseWithoutRepeatedKeys (Name, Content);
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
