/// Names for addresses of code, by the maps that the linker writes.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "Base.h"

class CodeMap {
public:
  /// Adds a map of lld's, of an image that lies Base bytes above where it was linked to. A file
  /// that is not there adds nothing.
  void Add (const std::filesystem::path &File, const std::string &Image, UINT64 Base);

  /// "IMAGE: SYMBOL+0xOFFSET" of an address; "no known code" outside all images.
  [[nodiscard]] std::string NameOf (UINT64 Address) const;

  /// Where a symbol is. Throws MachineError if no map has it.
  [[nodiscard]] UINT64 Find (const std::string &Symbol) const;

private:
  struct Section {
    UINT64 Begin, Size;
    std::string Image;
  };

  std::vector<Section> Sections;
  std::map<UINT64, std::string> Symbols; ///< By their addresses, of which each has one.
};
