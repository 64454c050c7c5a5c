/// What values are called: appended to a text, and made of tables of names.
#pragma once

#include <iterator>
#include <string>

#include <fmt/format.h>

#include "ToolOptions.h"

/// Appends the name of a value, or "reserved".
template <const auto &Names>
void
AppendName (std::string &Text, UINT64 Value)
{
  const char *Name = NameOf<UINT64> (Names, Value);
  Text += Name != nullptr ? Name : "reserved";
}

/// Appends the names of the bits that are set, or "none". The names are those of bits' numbers.
template <const auto &Names>
void
AppendBits (std::string &Text, UINT64 Value)
{
  if (Value == 0) {
    Text += "none";
  }
  for (UINT64 Bit = 0, Rest = Value; Rest != 0; ++Bit, Rest >>= 1) {
    if ((Rest & 1) == 0) {
      continue;
    }
    if (const char *Name = NameOf<UINT64> (Names, Bit)) {
      Text += Name;
    } else {
      fmt::format_to (std::back_inserter (Text), "bit {}", Bit);
    }
    Text += Rest != 1 ? ", " : "";
  }
}
