#include "BootView.h"

#include <fmt/format.h>

#include "Boot.h"
#include "Guid.h"
#include "HandOffBlocks.h"
#include "ShownBytes.h"

namespace {

using Json = nlohmann::ordered_json;

std::string
BlockText (const HandOffBlock &Block)
{
  const std::string Head =
      fmt::format ("  {:<17}  {:>5} bytes", HandOffTypeText (Block.Type), Block.Length);
  if (Block.Data.empty () && !Block.Name) {
    return Head + "\n";
  }
  return fmt::format ("{}  {:<36}  {}\n", Head, Block.Name ? GuidText (*Block.Name) : "",
                      CutText (Block.Data));
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

} // namespace

BootView
ViewHobs (const BootResult &)
{
  const std::vector<HandOffBlock> Blocks = ReadHandOffBlocks ();
  BootView View = {.Summary = CountText (Blocks.size (), "hand-off block"),
                   .Text = "",
                   .Facts = {{"hobs", Json::array ()}}};
  for (const HandOffBlock &Block : Blocks) {
    View.Text += BlockText (Block);
    View.Facts["hobs"].push_back (BlockJson (Block));
  }
  return View;
}
