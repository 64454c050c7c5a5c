#include "CodeMap.h"

#include <algorithm>
#include <cstdio>
#include <fstream>

#include <fmt/format.h>

#include "MachineError.h"

void
CodeMap::Add (const std::filesystem::path &File, const std::string &Image, UINT64 Base)
{
  // The heading says where the columns are. A row has its name in the column of what it is: an
  // output section, an input section, which is left out, or a symbol.
  std::ifstream Lines (File);
  std::string Line;
  std::getline (Lines, Line);
  const std::size_t Out = Line.find ("Out");
  const std::size_t Names = Line.find ("Symbol");
  while (Names != std::string::npos && std::getline (Lines, Line)) {
    // Address, in a map of ELF a second one, size and alignment.
    UINT64 Numbers[4] = {};
    const int Count = std::sscanf (Line.substr (0, Out).c_str (), "%llx %llx %llx %llx",
                                   &Numbers[0], &Numbers[1], &Numbers[2], &Numbers[3]);
    if (Count < 3 || Line.size () <= Out) {
      continue;
    }
    const std::size_t Name = Line.find_first_not_of (' ', Out);
    if (Name == Names) {
      Symbols.emplace (Base + Numbers[0], Line.substr (Name));
    } else if (Name == Out && Numbers[0] != 0) { // What has no address is in the file only.
      Sections.push_back ({Base + Numbers[0], Numbers[Count - 2], Image});
    }
  }
}

std::string
CodeMap::NameOf (UINT64 Address) const
{
  const auto In = std::ranges::find_if (
      Sections, [Address] (const Section &Each) { return Address - Each.Begin < Each.Size; });
  if (In == Sections.end ()) {
    return "no known code";
  }
  const auto Next = Symbols.upper_bound (Address);
  if (Next == Symbols.begin () || std::prev (Next)->first < In->Begin) {
    return In->Image;
  }
  const auto &[Start, Symbol] = *std::prev (Next);
  return fmt::format ("{}: {}+0x{:X}", In->Image, Symbol, Address - Start);
}

UINT64
CodeMap::Find (const std::string &Symbol) const
{
  for (const auto &[Address, Name] : Symbols) {
    if (Name == Symbol) {
      return Address;
    }
  }
  throw MachineError (fmt::format ("no map has the symbol {}", Symbol));
}
