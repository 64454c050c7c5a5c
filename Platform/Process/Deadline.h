/// The end of a wait that must not last for ever.
#pragma once

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
  [[nodiscard]] int Left () const;

  /// Waits until one of the descriptors has what its events ask for. Returns false if none has when
  /// the time is over. Throws MachineError if waiting fails or is interrupted (Interruption).
  [[nodiscard]] bool WaitFor (std::span<pollfd> Descriptors) const;

private:
  std::chrono::steady_clock::time_point End;
};
