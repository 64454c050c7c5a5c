/// Regular expressions of POSIX (IEEE 1003.1, base definitions, 9.4). Those of the C++ library take
/// as long to compile as thirty other sources.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <regex.h>

class Pattern {
public:
  enum class Letters {
    AsWritten,
    OfEitherCase
  };

  /// An extended regular expression, which must be a valid one.
  explicit Pattern (const char *Expression, Letters Case = Letters::AsWritten);
  ~Pattern ();
  Pattern (const Pattern &) = delete;
  Pattern &operator= (const Pattern &) = delete;

  /// The groups of the first match in a text, ahead of them the match itself; a group that takes no
  /// part in it has no value. None at all if there is no match.
  [[nodiscard]] std::vector<std::optional<std::string>> Search (const std::string &Text) const;

private:
  regex_t Compiled = {};
};
