#include "BootView.h"

#include <fmt/format.h>

#include "Boot.h"
#include "ShownBytes.h"

namespace {

using Json = nlohmann::ordered_json;

std::string
SharedStoreText (const SharedStore &Store)
{
  const char *Place = Store.Content.empty () ? "freed" : Store.InSmm ? "in SMM" : "outside SMM";
  return fmt::format ("  {:<24} {:>7} bytes at {}, {}, {}, made by {}, used by {}\n    {}\n",
                      Store.Name, Store.Content.size (), AddressText (Store.Address), Place,
                      Store.Locked ? "locked" : "open",
                      Store.Maker ? fmt::format ("driver {}", *Store.Maker) : "no driver",
                      CountText (Store.Users.size (), "driver"), CutText (Store.Content));
}

Json
SharedStoreJson (const SharedStore &Store)
{
  Json Result = {{"name", Store.Name},
                 {"address", AddressText (Store.Address)},
                 {"size", Store.Content.size ()},
                 {"memory", Store.InSmm ? "smm" : "outside"},
                 {"locked", Store.Locked},
                 {"madeBy", nullptr},
                 {"usedBy", Store.Users},
                 {"start", StartText (Store.Content)}};
  if (Store.Content.empty ()) {
    Result["memory"] = nullptr;
  }
  if (Store.Maker) {
    Result["madeBy"] = *Store.Maker;
  }
  return Result;
}

} // namespace

BootView
ViewStores (const BootResult &Booted)
{
  const std::vector<SharedStore> Stores = Booted.Watch.Stores ();
  BootView View = {.Summary = CountText (Stores.size (), "shared store"),
                   .Text = "",
                   .Facts = {{"stores", Json::array ()}}};
  for (const SharedStore &Store : Stores) {
    View.Text += SharedStoreText (Store);
    View.Facts["stores"].push_back (SharedStoreJson (Store));
  }
  return View;
}
