#include "LineChannel.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <fmt/format.h>
#include <sys/socket.h>

#include "MachineError.h"

namespace {

constexpr std::size_t LINE_SIZE_MAX = 1 << 20;

} // namespace

std::string
LineChannel::ReadLine (int SenderEnd)
{
  const Deadline Until (Time);
  std::size_t Searched = 0;
  for (;;) {
    const std::size_t End = Buffer.find ('\n', Searched);
    if (End != std::string::npos) {
      std::string Line = Buffer.substr (0, End);
      Buffer.erase (0, End + 1);
      // Guests and QMP end lines like serial terminals do.
      if (Line.ends_with ('\r')) {
        Line.pop_back ();
      }
      return Line;
    }
    Searched = Buffer.size ();
    if (Searched > LINE_SIZE_MAX) {
      throw MachineError (fmt::format ("a line of more than {} bytes came", LINE_SIZE_MAX));
    }
    pollfd Waited[] = {{.fd = Socket.Get (), .events = POLLIN, .revents = 0},
                       {.fd = SenderEnd, .events = POLLIN, .revents = 0}};
    if (!Until.WaitFor (Waited)) {
      throw MachineError (fmt::format ("no line came for {} ms", Time.count ()));
    }
    if (Waited[0].revents == 0) {
      throw MachineError ("no line can come any more");
    }
    std::array<char, 4096> Bytes = {};
    const ssize_t Count = read (Socket.Get (), Bytes.data (), Bytes.size ());
    if (Count == 0 || (Count < 0 && errno != EINTR)) {
      throw MachineError ("the other end is closed");
    }
    Buffer.append (Bytes.data (), static_cast<std::size_t> (std::max<ssize_t> (Count, 0)));
  }
}

void
LineChannel::WriteLine (std::string_view Line)
{
  const std::string Text = std::string (Line) + "\n";
  const Deadline Until (Time);
  for (std::size_t Written = 0; Written < Text.size ();) {
    pollfd Waited = {.fd = Socket.Get (), .events = POLLOUT, .revents = 0};
    if (!Until.WaitFor ({&Waited, 1})) {
      throw MachineError (fmt::format ("nobody read for {} ms", Time.count ()));
    }
    const ssize_t Count = send (Socket.Get (), Text.data () + Written, Text.size () - Written,
                                MSG_NOSIGNAL | MSG_DONTWAIT);
    if (Count < 0 && errno != EAGAIN && errno != EINTR) {
      throw MachineError ("the other end is closed");
    }
    Written += static_cast<std::size_t> (std::max<ssize_t> (Count, 0));
  }
}
