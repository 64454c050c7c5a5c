#include "ByteWindow.h"

#include <cerrno>
#include <cstring>

#include <fmt/format.h>

#include "InputFile.h"

namespace {

constexpr std::size_t PieceSize = 64 * 1024;

} // namespace

bool
FileBytes::ReadMore (std::string &Bytes)
{
  Output.flush ();
  const std::size_t Before = Bytes.size ();
  Bytes.resize (Before + PieceSize);
  ssize_t Count = 0;
  do {
    Count = read (Descriptor.Get (), Bytes.data () + Before, PieceSize);
  } while (Count < 0 && errno == EINTR);
  if (Count < 0) {
    Bytes.resize (Before);
    throw InputError (fmt::format ("expected a readable file: {}", std::strerror (errno)));
  }
  Bytes.resize (Before + static_cast<std::size_t> (Count));
  return Count != 0;
}

std::string_view
ByteWindow::Ahead (std::size_t Size)
{
  while (Source && Bytes.size () - Start < Size) {
    if (Start > Bytes.size () / 2) {
      Bytes.erase (0, Start);
      Start = 0;
    }
    // What has failed once is at its end.
    std::unique_ptr<ByteSource> From = std::move (Source);
    if (From->ReadMore (Bytes)) {
      Source = std::move (From);
    }
  }
  return std::string_view (Bytes).substr (Start);
}

void
ByteWindow::Take (std::size_t Size)
{
  Start += Size;
  Taken += Size;
}
