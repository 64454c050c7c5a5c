#include "BmcMode.h"

#include <algorithm>
#include <iterator>
#include <span>

#include <fmt/format.h>

#include "InputFile.h"
#include "ToolOptions.h"

namespace {

/// Names in the order of their enumerators.
constexpr const char *ModeNames[] = {"normal", "mute", "late", "refuse", "garbage"};
constexpr const char *GarbageNames[] = {"checksum", "short", "foreign", "long", "noise"};

/// The enumerator of that name.
template <typename Enumeration>
Enumeration
FindName (const std::string &Option, std::span<const char *const> Names, const std::string &Name)
{
  const auto Found = std::ranges::find (Names, Name);
  if (Found == Names.end ()) {
    RefuseOption (Option, fmt::format ("{}", fmt::join (Names, ", ")), Name);
  }
  return static_cast<Enumeration> (std::distance (Names.begin (), Found));
}

} // namespace

BmcMode
ParseBmcMode (const std::string &Text)
{
  const std::size_t Blank = std::min (Text.find (' '), Text.size ());
  const std::string Name = Text.substr (0, Blank);
  const std::string Argument = Text.substr (std::min (Blank + 1, Text.size ()));
  BmcMode Mode = {.Kind = FindName<BmcModeKind> ("mode", ModeNames, Name)};
  if (Mode.Kind == BmcModeKind::Refuse) {
    Mode.CompletionCode = static_cast<UINT8> (NumberOption ("mode refuse", Argument, 1, 0xFF));
  } else if (Mode.Kind == BmcModeKind::Garbage) {
    Mode.Garbage = FindName<GarbageKind> ("mode garbage", GarbageNames, Argument);
  } else if (Blank != Text.size ()) {
    RefuseOption ("mode " + Name, "nothing more", Argument);
  }
  return Mode;
}

std::string
BmcModeText (const BmcMode &Mode)
{
  const char *Name = ModeNames[static_cast<UINTN> (Mode.Kind)];
  switch (Mode.Kind) {
  case BmcModeKind::Refuse:
    return fmt::format ("{} 0x{:02X}", Name, Mode.CompletionCode);
  case BmcModeKind::Garbage:
    return fmt::format ("{} {}", Name, GarbageNames[static_cast<UINTN> (Mode.Garbage)]);
  default:
    return Name;
  }
}
