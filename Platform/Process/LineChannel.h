/// Lines over a socket.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "Deadline.h"
#include "FileDescriptor.h"

class LineChannel {
public:
  LineChannel () = default;

  /// Takes a connected socket over. No line is waited for longer than Patience.
  LineChannel (FileDescriptor Connection, std::chrono::milliseconds Patience)
      : Socket (std::move (Connection)), Time (Patience)
  {
  }

  /// The next line without its end. Throws MachineError if none comes, or a very long one, and as
  /// soon as the descriptor SenderEnd becomes readable, which says that none will come; -1 is none.
  std::string ReadLine (int SenderEnd = -1);

  /// Writes Line and its end. Throws MachineError if nobody takes it.
  void WriteLine (std::string_view Line);

private:
  FileDescriptor Socket;
  std::chrono::milliseconds Time{0};
  std::string Buffer; ///< What has been received and not been read.
};
