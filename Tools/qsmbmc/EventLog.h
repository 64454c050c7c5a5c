/// What the BMC has taken and refused, in its order, and the file that keeps it.
#pragma once

#include <ctime>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

#include "Base.h"
#include "FileDescriptor.h"
#include "IpmiFrame.h"

/// A moment, UTC, as ISO 8601 has it: "2026-11-25T09:30:00Z".
std::string TimeText (std::time_t Time);

/// An event that was taken. Data are those of the command.
struct TakenEvent {
  UINT64 Sequence; ///< Counts events from 1 on, over restarts.
  std::time_t Time;
  std::span<const UINT8> Data;
};

/// A request that was refused.
struct RefusedRequest {
  const IpmiMessage &Request;
  UINT8 CompletionCode;
  std::time_t Time;
};

/// One line of JSON, without its end.
std::string LineJson (const TakenEvent &Event);
std::string LineJson (const RefusedRequest &Refusal);

/// One line for people, without its end.
std::string LineText (const TakenEvent &Event);
std::string LineText (const RefusedRequest &Refusal);

/// An append-only file of one LineJson a line. Once one has been appended it stays, whatever
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

  /// Appends the line of an event, whose number is the next one, or of a refusal, and waits until
  /// the disk has it. Returns 0, or the error number (errno) of the failure. Then nothing of it
  /// stays; what cannot be cut off now is so later.
  int Append (const TakenEvent &Event);
  int Append (const RefusedRequest &Refusal);

private:
  int AppendLine (std::string Line);
  void Check (const std::string &Name);
  void Mend (const std::string &Name, std::string_view Torn);

  /// Leaves the whole lines alone in the file; errno tells why not.
  [[nodiscard]] bool CutBack ();

  FileDescriptor File;
  UINT64 Last = 0;
  UINTN Size = 0; ///< Of the whole lines, in bytes.
  UINTN Cut = 0;
};
