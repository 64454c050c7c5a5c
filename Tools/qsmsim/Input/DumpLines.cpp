#include "DumpLines.h"

#include <algorithm>

namespace {

constexpr std::size_t DumpLineSizeMax = 4096;

/// Whether an offset begins the line, or the sign of left-out lines.
bool
IsDumpLine (std::string_view Line)
{
  const std::size_t Size = std::min (Line.find_first_not_of (HEX_DIGITS), Line.size ());
  return Line.starts_with ('*') ||
         (Size >= DUMP_OFFSET_SIZE_MIN &&
          (Size == Line.size () || Line.find_first_of (": \t\r") == Size));
}

} // namespace

std::size_t
DumpPrefixSize (std::string_view Front, bool HasBytesApart)
{
  Front = Front.substr (0, Front.find_last_not_of (" \t") + 1); // npos + 1 is 0.
  if (Front.ends_with (':')) {
    Front.remove_suffix (1);
  } else if (!HasBytesApart) {
    return std::string_view::npos;
  }
  const std::size_t Start = Front.find_last_not_of (HEX_DIGITS) + 1; // npos + 1 is 0.
  return Front.size () - Start >= DUMP_OFFSET_SIZE_MIN ? Start : std::string_view::npos;
}

bool
DumpLines::ReadMore (std::string &Bytes)
{
  const std::size_t Before = Bytes.size ();
  while (Bytes.size () == Before) {
    std::string_view Ahead = Text.Ahead (1);
    if (Ahead.find ('\n') == std::string_view::npos) {
      Ahead = Text.Ahead (DumpLineSizeMax);
    }
    const std::size_t Size = std::min (Ahead.find ('\n'), Ahead.size ());
    if (Size <= PrefixSize || !IsDumpLine (Ahead.substr (PrefixSize, Size - PrefixSize))) {
      return false;
    }
    const std::string Line (Ahead.substr (PrefixSize, Size - PrefixSize));
    const UINT64 Offset = Text.Offset ();
    Text.Take (std::min (Size + 1, Ahead.size ()));
    Decoder->Decode (Line, Offset, Bytes);
  }
  return true;
}
