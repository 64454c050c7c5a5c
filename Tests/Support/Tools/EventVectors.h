/// The event commands of Platform/Data/Events, with what a BMC has to answer.
#pragma once

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "Base.h"

/// An event command of QSM_EVENT_VECTORS, and its completion code.
struct EventVector {
  std::string Line;
  UINT8 CompletionCode, Lun;
  std::vector<UINT8> Data;
};

inline std::vector<EventVector>
EventVectors ()
{
  std::vector<EventVector> Found;
  std::ifstream File (QSM_EVENT_VECTORS);
  for (std::string Line; std::getline (File, Line);) {
    std::istringstream Words (Line.substr (0, Line.find ('#')));
    std::string Code, Lun, Word;
    if (!(Words >> Code >> Lun)) {
      continue;
    }
    const auto Hex = [] (const std::string &Text) {
      return static_cast<UINT8> (std::stoul (Text, nullptr, 16));
    };
    Found.push_back ({Line, Hex (Code), Hex (Lun), {}});
    while (Words >> Word) {
      const std::size_t Times = Word.find ('x');
      Found.back ().Data.insert (Found.back ().Data.end (),
                                 Times == std::string::npos ? 1
                                                            : std::stoul (Word.substr (Times + 1)),
                                 Hex (Word.substr (0, 2)));
    }
  }
  return Found;
}
