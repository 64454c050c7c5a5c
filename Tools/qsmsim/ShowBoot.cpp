#include "Commands.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <sstream>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Boot.h"
#include "Guid.h"
#include "HandOffBlocks.h"
#include "Record/RasLevelMask.h"
#include "SharedStores.h"
#include "ToolRun.h"

namespace {

using Json = nlohmann::ordered_json;

/// As many bytes of a store or a block as are shown.
constexpr UINTN SHOWN_BYTES_MAX = 16;

/// How a list of what a boot has built is written.
template <typename Element> struct ListFormat {
  const char *Key;      ///< In JSON.
  const char *Singular; ///< What one element is called.
  Json (*ToJson) (const Element &Each);
  std::string (*ToText) (const Element &Each); ///< Whole lines.
};

std::span<const UINT8>
Start (std::span<const UINT8> Bytes)
{
  return Bytes.first (std::min<UINTN> (Bytes.size (), SHOWN_BYTES_MAX));
}

std::string
StartText (std::span<const UINT8> Bytes)
{
  return HexText (Start (Bytes)) + (Bytes.size () > SHOWN_BYTES_MAX ? " ..." : "");
}

std::string
AddressText (UINT64 Address)
{
  return fmt::format ("0x{:012X}", Address);
}

void
PrintHeading (Console &Console, const BootPlan &Plan, const std::string &Built)
{
  Console.Out << Coloured (Console, Colour::Bold, Plan.Platform.Name) << ": "
              << CountText (Plan.DriverCount, "driver") << ", " << Built << "\n";
}

/// Ends what is shown for people. Returns the exit code.
int
CloseText (Console &Console, const Outcome &Booted)
{
  if (Booted.Fault.empty ()) {
    return EXIT_DONE;
  }
  Console.Out << "  " << Coloured (Console, Colour::Red, "fault: " + Booted.Fault) << "\n";
  return EXIT_FAULT;
}

/// Writes what is shown to programs. Returns the exit code.
int
WriteJson (Console &Console, const BootPlan &Plan, const Json &Built, const Outcome &Booted)
{
  Json Document = {{"platform", Plan.Platform.Name}, {"drivers", Plan.DriverCount}};
  Document.update (Built);
  Document["fault"] = Booted.Fault.empty () ? Json () : Json (Booted.Fault);
  Console.Out << Document.dump (2, ' ', false, Json::error_handler_t::replace) << "\n";
  return Booted.Fault.empty () ? EXIT_DONE : EXIT_FAULT;
}

std::string
StoreText (const SharedStore &Store)
{
  const char *Place = Store.Content.empty () ? "freed" : Store.InSmm ? "in SMM" : "outside SMM";
  return fmt::format ("  {:<24} {:>7} bytes at {}, {}, {}, made by {}, used by {}\n    {}\n",
                      Store.Name, Store.Content.size (), AddressText (Store.Address), Place,
                      Store.Locked ? "locked" : "open",
                      Store.Maker ? fmt::format ("driver {}", *Store.Maker) : "no driver",
                      CountText (Store.Users.size (), "driver"), StartText (Store.Content));
}

Json
StoreJson (const SharedStore &Store)
{
  Json Result = {{"name", Store.Name},
                 {"address", AddressText (Store.Address)},
                 {"size", Store.Content.size ()},
                 {"memory", Store.InSmm ? "smm" : "outside"},
                 {"locked", Store.Locked},
                 {"madeBy", nullptr},
                 {"usedBy", Store.Users},
                 {"start", HexText (Start (Store.Content))}};
  if (Store.Content.empty ()) {
    Result["memory"] = nullptr;
  }
  if (Store.Maker) {
    Result["madeBy"] = *Store.Maker;
  }
  return Result;
}

std::string
BlockText (const HandOffBlock &Block)
{
  const std::string Head =
      fmt::format ("  {:<17}  {:>5} bytes", HandOffTypeText (Block.Type), Block.Length);
  if (Block.Data.empty () && !Block.Name) {
    return Head + "\n";
  }
  return fmt::format ("{}  {:<36}  {}\n", Head, Block.Name ? GuidText (*Block.Name) : "",
                      StartText (Block.Data));
}

Json
BlockJson (const HandOffBlock &Block)
{
  Json Result = {{"type", HandOffTypeText (Block.Type)},
                 {"typeNumber", Block.Type},
                 {"length", Block.Length},
                 {"name", nullptr},
                 {"data", HexText (Block.Data)}};
  if (Block.Name) {
    Result["name"] = GuidText (*Block.Name);
  }
  return Result;
}

/// The mask that the boot has left for the RAS debug log, if it has left one.
std::optional<std::string>
LevelMaskText ()
{
  for (const HandOffBlock &Block : ReadHandOffBlocks ()) {
    if (Block.Name && IsSameGuid (*Block.Name, gRasLevelMaskHobGuid) &&
        Block.Data.size () >= sizeof (RasLevelMask)) {
      RasLevelMask Mask;
      std::memcpy (&Mask, Block.Data.data (), sizeof Mask);
      return fmt::format ("0x{:08X}", Mask.Levels);
    }
  }
  return std::nullopt;
}

std::vector<std::string>
LinesOf (const std::string &Sent)
{
  std::vector<std::string> Lines;
  std::istringstream Text (Sent);
  for (std::string Line; std::getline (Text, Line);) {
    if (Line.ends_with ('\r')) {
      Line.pop_back ();
    }
    Lines.push_back (Line);
  }
  return Lines;
}

/// Shows a list, element for element.
template <typename Element>
int
ShowList (const ShowArguments &Arguments,
          Console &Console,
          const BootPlan &Plan,
          const Outcome &Booted,
          const ListFormat<Element> &Format,
          const std::vector<Element> &List)
{
  if (Arguments.Json) {
    Json Elements = Json::array ();
    for (const Element &Each : List) {
      Elements.push_back (Format.ToJson (Each));
    }
    return WriteJson (Console, Plan, {{Format.Key, std::move (Elements)}}, Booted);
  }
  PrintHeading (Console, Plan, CountText (List.size (), Format.Singular));
  for (const Element &Each : List) {
    Console.Out << Format.ToText (Each);
  }
  return CloseText (Console, Booted);
}

} // namespace

int
RunShowStores (const ShowArguments &Arguments, Console &Console)
{
  const BootPlan Plan = ReadBootPlan (Arguments.Boot);
  SimulatedPlatform Platform (Plan.Platform);
  const StoreWatch Watch (Platform);
  const Outcome Booted = Boot (Platform, Plan);
  const ListFormat<SharedStore> Format = {"stores", "shared store", StoreJson, StoreText};
  return ShowList (Arguments, Console, Plan, Booted, Format, Watch.Stores ());
}

int
RunShowHobs (const ShowArguments &Arguments, Console &Console)
{
  const BootPlan Plan = ReadBootPlan (Arguments.Boot);
  SimulatedPlatform Platform (Plan.Platform);
  const Outcome Booted = Boot (Platform, Plan);
  const ListFormat<HandOffBlock> Format = {"hobs", "hand-off block", BlockJson, BlockText};
  return ShowList (Arguments, Console, Plan, Booted, Format, ReadHandOffBlocks ());
}

int
RunShowLog (const ShowArguments &Arguments, Console &Console)
{
  const BootPlan Plan = ReadBootPlan (Arguments.Boot);
  SimulatedPlatform Platform (Plan.Platform);
  const Outcome Booted = Boot (Platform, Plan);
  const std::string &Sent = Platform.Machine.Uart.Sent;
  const auto Mask = LevelMaskText ();
  if (Arguments.Json) {
    return WriteJson (Console, Plan, {{"levelMask", Mask ? Json (*Mask) : Json ()}, {"text", Sent}},
                      Booted);
  }
  const std::vector<std::string> Lines = LinesOf (Sent);
  PrintHeading (
      Console, Plan,
      fmt::format ("level mask {}, {}", Mask.value_or ("none"), CountText (Lines.size (), "line")));
  for (const std::string &Line : Lines) {
    Console.Out << "  " << Line << "\n";
  }
  return CloseText (Console, Booted);
}
