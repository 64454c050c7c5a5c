#include "DecodedText.h"

#include <algorithm>

#include "InputFile.h"

namespace {

/// Longer lines are decoded in pieces, which end behind a separator, or behind this even number of
/// digits.
constexpr std::size_t LineSizeMax = 16 * 1024;

struct Line {
  std::size_t Size;     ///< Without its end,
  std::size_t Followed; ///< and with it.
};

/// The line or piece of one that Text begins with.
Line
FirstLine (std::string_view Text)
{
  const std::size_t End = Text.substr (0, LineSizeMax).find ('\n');
  if (End != std::string_view::npos) {
    return {End, End + 1};
  }
  if (Text.size () < LineSizeMax) {
    return {Text.size (), Text.size ()};
  }
  const std::size_t Separator = Text.substr (0, LineSizeMax).find_last_of (" \t,;");
  const std::size_t Size = Separator != std::string_view::npos ? Separator + 1 : LineSizeMax;
  return {Size, Size};
}

} // namespace

bool
DecodedText::ReadMore (std::string &Bytes)
{
  if (Failure) {
    std::rethrow_exception (Failure);
  }
  const std::size_t Before = Bytes.size ();
  while (Bytes.size () == Before) {
    std::string_view Ahead = Text.Ahead (1);
    if (Ahead.find ('\n') == std::string_view::npos) {
      Ahead = Text.Ahead (LineSizeMax);
    }
    if (Ahead.empty ()) {
      return false;
    }
    const auto [Size, Followed] = FirstLine (Ahead);
    const UINT64 Offset = Text.Offset ();
    const std::string Piece (Ahead.substr (0, Size));
    Text.Take (Followed);
    try {
      Decoder->Decode (Piece, Offset, Bytes);
    } catch (const InputError &) {
      if (Bytes.size () == Before) {
        throw;
      }
      Failure = std::current_exception ();
    }
  }
  return true;
}
