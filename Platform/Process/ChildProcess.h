/// A program that runs beside this one and not longer.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "Deadline.h"
#include "FileDescriptor.h"

/// Descriptors of this process that become the child's standard streams; -1 is /dev/null.
struct ChildStreams {
  int Input = -1;
  int Output = -1;
  int Error = -1;
};

class ChildProcess {
public:
  /// Starts Arguments[0], which is looked for as a shell does. The child is killed when this
  /// process, or the thread that started it, ends in whatever way. Throws MachineError if it cannot
  /// be started.
  ChildProcess (const std::vector<std::string> &Arguments, const ChildStreams &Streams);

  /// Kills the child if it runs.
  ~ChildProcess ();
  ChildProcess (const ChildProcess &) = delete;
  ChildProcess &operator= (const ChildProcess &) = delete;

  [[nodiscard]] pid_t
  Id () const
  {
    return ProcessId;
  }

  /// Becomes readable when the child ends.
  [[nodiscard]] int
  EndDescriptor () const
  {
    return End.Get ();
  }

  /// Sends a signal, unless the child has ended.
  void Signal (int Number) const;

  /// Waits for the end of the child. Returns its status as waitpid gives it; nothing if it still
  /// runs at the deadline.
  std::optional<int> WaitForEnd (const Deadline &Until);

private:
  pid_t ProcessId = -1;
  FileDescriptor End; ///< A pipe whose other end the child alone holds.
  std::optional<int> Status;
};

/// "exit code 3", "signal 9" of a status.
std::string ChildStatusText (int Status);
