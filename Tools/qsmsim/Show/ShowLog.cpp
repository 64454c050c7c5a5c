#include "BootView.h"

#include <cstring>
#include <optional>
#include <sstream>

#include <fmt/format.h>

#include "Boot.h"
#include "HandOffBlocks.h"
#include "Identity.h"
#include "Record/RasLevelMask.h"

namespace {

using Json = nlohmann::ordered_json;

/// The mask that the boot has left for the RAS debug log, if it has left one.
std::optional<std::string>
LevelMaskText ()
{
  for (const HandOffBlock &Block : ReadHandOffBlocks ()) {
    if (Block.Name && IsSameGuid (*Block.Name, gRasLevelMaskHobGuid) &&
        Block.Data.size () >= sizeof (RasLevelMask)) {
      RasLevelMask Mask;
      std::memcpy (&Mask, Block.Data.data (), sizeof Mask);
      return fmt::format ("0x{:08X}", UINT32{Mask.Levels});
    }
  }
  return std::nullopt;
}

} // namespace

BootView
ViewLog (const BootResult &Booted)
{
  const std::string &Sent = Booted.Platform.Machine.Uart.Sent;
  const auto Mask = LevelMaskText ();
  BootView View = {.Summary = "level mask " + Mask.value_or ("none") + ", ",
                   .Text = "",
                   .Facts = {{"levelMask", Mask ? Json (*Mask) : Json ()}, {"text", Sent}}};
  UINTN LineCount = 0;
  std::istringstream Lines (Sent);
  for (std::string Line; std::getline (Lines, Line); ++LineCount) {
    if (Line.ends_with ('\r')) {
      Line.pop_back ();
    }
    View.Text += "  " + Line + "\n";
  }
  View.Summary += CountText (LineCount, "line");
  return View;
}
