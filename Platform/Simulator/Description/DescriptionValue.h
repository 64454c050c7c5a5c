/// Values of a platform description in JSON, and how they are refused.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

/// One value with the JSON path that leads to it. Its readers refuse whatever is not what they
/// read, by an InputError.
struct DescriptionValue {
  using Keys = std::vector<std::string_view>;

  const std::string &File;
  const nlohmann::json &Content;
  std::string Path;

  [[noreturn]] void Refuse (std::string_view Expected) const;

  /// Refuses the key of this value, or the value for what others are.
  [[noreturn]] void RefuseKey (std::string_view Expected) const;

  /// Refuses an object that has any other key.
  void AllowOnly (const Keys &Allowed) const;

  [[nodiscard]] bool Has (std::string_view Key) const;

  DescriptionValue operator[] (std::string_view Key) const;

  [[nodiscard]] std::vector<DescriptionValue> List () const;

  [[nodiscard]] std::vector<std::pair<std::string, DescriptionValue>> Members () const;

  /// A number, or the text of one: JSON has no hexadecimal numbers.
  [[nodiscard]] std::optional<uint64_t> AnyNumber () const;

  template <typename Unsigned>
  [[nodiscard]] Unsigned
  Number (Unsigned Maximum = std::numeric_limits<Unsigned>::max (), Unsigned Minimum = 0) const
  {
    const std::optional<uint64_t> Read = AnyNumber ();
    if (!Read || *Read < Minimum || *Read > Maximum) {
      Refuse (fmt::format ("a number from {} to {}", Minimum, Maximum));
    }
    return static_cast<Unsigned> (*Read);
  }

  [[nodiscard]] bool Flag () const;

  /// A text of printable ASCII characters.
  [[nodiscard]] std::string Text () const;

  [[nodiscard]] bool IsNull () const;

  [[nodiscard]] bool Is (std::string_view Expected) const;

  [[nodiscard]] std::string Below (std::string_view Key) const;
};

/// Parses a description. Throws InputError when it is no JSON, and when an object has a key twice.
nlohmann::json ParseDescription (const std::string &File, std::string_view Content);
