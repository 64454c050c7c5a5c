#include "InputFile.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>

#include <fmt/format.h>

std::string
ReadInputFile (const std::filesystem::path &File, std::size_t SizeMax)
{
  // A directory opens like a file and fails only when it is read.
  std::ifstream Stream (File, std::ios::binary);
  std::string Content (SizeMax + 1, '\0');
  if (Stream) {
    Stream.read (Content.data (), static_cast<std::streamsize> (Content.size ()));
  }
  if (Stream.bad () || !(Stream || Stream.eof ())) {
    throw InputError (
        fmt::format ("{}: expected a readable file: {}", File.string (), std::strerror (errno)));
  }
  Content.resize (static_cast<std::size_t> (Stream.gcount ()));
  if (Content.size () > SizeMax) {
    throw InputError (
        fmt::format ("{}: offset {}: expected the end of the file", File.string (), SizeMax));
  }
  return Content;
}

std::optional<uint64_t>
ParseNumber (std::string_view Text)
{
  int Base = 10;
  if (Text.starts_with ("0x") || Text.starts_with ("0X")) {
    Text.remove_prefix (2);
    Base = 16;
  }
  uint64_t Number = 0;
  const char *End = Text.data () + Text.size ();
  const auto [Rest, Error] = std::from_chars (Text.data (), End, Number, Base);
  if (Error != std::errc () || Rest != End) {
    return std::nullopt;
  }
  return Number;
}

bool
IsPrintableAscii (std::string_view Text)
{
  return std::ranges::all_of (Text,
                              [] (char Character) { return Character >= ' ' && Character <= '~'; });
}
