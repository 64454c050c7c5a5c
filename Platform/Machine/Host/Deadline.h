/// The end of a wait that must not last for ever.
#pragma once

#include <algorithm>
#include <chrono>
#include <span>

#include <poll.h>

class Deadline {
public:
  explicit Deadline (std::chrono::milliseconds Patience)
      : End (std::chrono::steady_clock::now () + Patience)
  {
  }

  /// Milliseconds that are left, at least 0.
  [[nodiscard]] int
  Left () const
  {
    const auto Time =
        std::chrono::ceil<std::chrono::milliseconds> (End - std::chrono::steady_clock::now ());
    return static_cast<int> (std::max<std::chrono::milliseconds::rep> (Time.count (), 0));
  }

  /// Waits until one of the descriptors has what its events ask for. Returns false if none has when
  /// the time is over.
  [[nodiscard]] bool
  WaitFor (std::span<pollfd> Descriptors) const
  {
    for (;;) {
      const int Time = Left ();
      const int Count = poll (Descriptors.data (), Descriptors.size (), Time);
      if (Count > 0 || (Count == 0 && Time == 0)) {
        return Count > 0;
      }
    }
  }

private:
  std::chrono::steady_clock::time_point End;
};
