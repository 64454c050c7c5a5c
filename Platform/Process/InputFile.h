/// What a user hands in: files and numbers, and how they are refused.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

/// Something handed in is not what it should be. The text is one line that names the file or the
/// option, the place in it, and what was expected there.
struct InputError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The content of File. Throws InputError when it cannot be read or has more than SizeMax bytes.
std::string ReadInputFile (const std::filesystem::path &File, std::size_t SizeMax);

/// Number in decimal digits, or in hexadecimal digits behind "0x"; no value for any other text and
/// for a number of more than 64 bits.
std::optional<uint64_t> ParseNumber (std::string_view Text);

/// TRUE for the characters from blank to tilde, and for no text at all.
bool IsPrintableAscii (std::string_view Text);
