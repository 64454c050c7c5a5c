#include "Deadline.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fmt/format.h>

#include "Interruption.h"
#include "MachineError.h"

int
Deadline::Left () const
{
  const auto Time =
      std::chrono::ceil<std::chrono::milliseconds> (End - std::chrono::steady_clock::now ());
  return static_cast<int> (std::max<std::chrono::milliseconds::rep> (Time.count (), 0));
}

bool
Deadline::WaitFor (std::span<pollfd> Descriptors) const
{
  for (;;) {
    const int Time = Left ();
    const timespec Rest = {.tv_sec = Time / 1000, .tv_nsec = Time % 1000 * 1'000'000L};
    const int Count =
        ppoll (Descriptors.data (), Descriptors.size (), &Rest, Interruption::WaitMask ());
    const int Reason = errno;
    Interruption::Check ();
    if (Count < 0 && Reason != EINTR) {
      throw MachineError (fmt::format ("cannot wait: {}", std::strerror (Reason)));
    }
    if (Count > 0 || (Count == 0 && Time == 0)) {
      return Count > 0;
    }
  }
}
