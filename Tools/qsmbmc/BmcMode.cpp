#include "BmcMode.h"

#include <algorithm>

#include <fmt/format.h>

#include "InputFile.h"
#include "ToolOptions.h"

namespace {

constexpr Named<BmcModeKind> Modes[] = {
    {"normal", BmcModeKind::Normal}, {"mute", BmcModeKind::Mute},       {"late", BmcModeKind::Late},
    {"refuse", BmcModeKind::Refuse}, {"garbage", BmcModeKind::Garbage},
};

constexpr Named<GarbageKind> Garbages[] = {
    {"checksum", GarbageKind::Checksum}, {"short", GarbageKind::Short},
    {"foreign", GarbageKind::Foreign},   {"long", GarbageKind::Long},
    {"noise", GarbageKind::Noise},
};

template <typename Value, std::size_t Count>
std::vector<std::string>
NamesOf (const Named<Value> (&Values)[Count])
{
  std::vector<std::string> Names;
  for (const Named<Value> &Row : Values) {
    Names.emplace_back (Row.Name);
  }
  return Names;
}

} // namespace

std::vector<std::string>
BmcModeNames ()
{
  return NamesOf (Modes);
}

std::vector<std::string>
GarbageNames ()
{
  return NamesOf (Garbages);
}

BmcMode
ParseBmcMode (const std::string &Text, const std::string &GivenFor)
{
  const std::size_t Blank = std::min (Text.find (' '), Text.size ());
  const std::string Name = Text.substr (0, Blank);
  const std::string Argument = Text.substr (std::min (Blank + 1, Text.size ()));
  BmcMode Mode = {.Kind = NamedOption<BmcModeKind> (GivenFor, Name, Modes)};
  if (Mode.Kind == BmcModeKind::Refuse) {
    Mode.CompletionCode =
        static_cast<UINT8> (NumberOption (GivenFor + " refuse", Argument, 1, 0xFF));
  } else if (Mode.Kind == BmcModeKind::Garbage) {
    Mode.Garbage = NamedOption<GarbageKind> (GivenFor + " garbage", Argument, Garbages);
  } else if (Blank != Text.size ()) {
    RefuseOption (GivenFor + " " + Name, "nothing more", Argument);
  }
  return Mode;
}

std::string
BmcModeText (const BmcMode &Mode)
{
  const char *Name = NameOf<BmcModeKind> (Modes, Mode.Kind);
  switch (Mode.Kind) {
  case BmcModeKind::Refuse:
    return fmt::format ("{} 0x{:02X}", Name, Mode.CompletionCode);
  case BmcModeKind::Garbage:
    return fmt::format ("{} {}", Name, NameOf<GarbageKind> (Garbages, Mode.Garbage));
  default:
    return Name;
  }
}
