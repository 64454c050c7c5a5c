/// Text in UTF-8 (RFC 3629).
#pragma once

#include <optional>
#include <string_view>

/// A character, and how many bytes it takes.
struct Utf8Character {
  char32_t Code;
  std::size_t Size;
};

/// The character with which Text, which is not empty, begins; none if its bytes are no character.
std::optional<Utf8Character> FirstCharacter (std::string_view Text);
