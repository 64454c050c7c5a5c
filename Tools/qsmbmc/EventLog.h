/// The events that the BMC has taken, in their order, and the file that keeps them.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <string_view>

#include "Base.h"
#include "FileDescriptor.h"

/// One event as one line of JSON, without its end: sequence, class, severity, id and bytes.
std::string EventJson (UINT64 Sequence, std::span<const UINT8> Data);

/// One event as one line for people, without its end.
std::string EventText (UINT64 Sequence, std::span<const UINT8> Data);

/// An append-only file of one EventJson a line. Once an event has been appended it stays, whatever
/// becomes of the process or the machine. One process may have the file open at a time.
class EventLog {
public:
  /// Opens the file, or makes it. A last line without its end is what a crash has left of an event
  /// that nobody was told to be taken: it is cut off. Throws InputError for any other file than a
  /// log.
  explicit EventLog (const std::filesystem::path &File);

  /// Returns the sequence number of the last event; 0 if there is none.
  [[nodiscard]] UINT64
  LastSequence () const
  {
    return Last;
  }

  /// The bytes of a torn last line that were cut off.
  [[nodiscard]] UINTN
  CutSize () const
  {
    return Cut;
  }

  /// Appends the line of an event and waits until the disk has it. Returns 0, or the error number
  /// (errno) of the failure. Then nothing of it stays; what cannot be cut off now is so later.
  int Append (std::span<const UINT8> Data);

private:
  void Check (const std::string &Name);
  void Mend (const std::string &Name, std::string_view Torn);

  /// Leaves the whole lines alone in the file; errno tells why not.
  [[nodiscard]] bool CutBack ();

  FileDescriptor File;
  UINT64 Last = 0;
  UINTN Size = 0; ///< Of the whole lines, in bytes.
  UINTN Cut = 0;
};
