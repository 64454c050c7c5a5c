#include "EventLog.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sys/file.h>

#include "Console.h"
#include "Event.h"
#include "InputFile.h"

namespace {

/// Longer than any line of a log.
constexpr UINTN LINE_SIZE_MAX = 4096;

/// What each line begins with.
constexpr std::string_view LINE_START = R"({"sequence":)";

[[noreturn]] void
Refuse (const std::string &Name, std::string_view Expected, int Reason)
{
  throw InputError (fmt::format ("{}: expected {}: {}", Name, Expected, std::strerror (Reason)));
}

/// The sequence number of a line; 0 if it is none of a log.
UINT64
SequenceOf (std::string_view Line)
{
  const auto Json = nlohmann::json::parse (Line, nullptr, false);
  if (!Json.is_object () || !Line.starts_with (LINE_START)) {
    return 0;
  }
  const auto Sequence = Json.find ("sequence");
  return Sequence->is_number_unsigned () ? Sequence->get<UINT64> () : 0;
}

/// Makes a new file's name last as long as the file.
void
SyncDirectoryOf (const std::filesystem::path &Path)
{
  const auto Parent = Path.parent_path ();
  const FileDescriptor Directory (
      open (Parent.empty () ? "." : Parent.c_str (), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (Directory.IsOpen ()) {
    fsync (Directory.Get ());
  }
}

} // namespace

std::string
EventJson (UINT64 Sequence, std::span<const UINT8> Data)
{
  const Event Event = DecodeEvent (Data);
  return nlohmann::ordered_json{{"sequence", Sequence},
                                {"class", ErrorClassText (Event.ErrorClass)},
                                {"severity", EventSeverityText (Event.Severity)},
                                {"id", Event.DeviceId},
                                {"bytes", HexText (Data)}}
      .dump ();
}

std::string
EventText (UINT64 Sequence, std::span<const UINT8> Data)
{
  const Event Event = DecodeEvent (Data);
  return fmt::format ("{}: {}, {}, \"{}\": {}", Sequence, ErrorClassText (Event.ErrorClass),
                      EventSeverityText (Event.Severity), Event.DeviceId, HexText (Data));
}

EventLog::EventLog (const std::filesystem::path &Path)
    : File (open (
          Path.c_str (), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0644))
{
  const std::string &Name = Path.native ();
  if (!File.IsOpen ()) {
    Refuse (Name, "a log that can be written", errno);
  }
  if (flock (File.Get (), LOCK_EX | LOCK_NB) != 0) {
    Refuse (Name, "a log that no other process has open", errno);
  }
  if (!std::filesystem::is_regular_file (Path)) {
    Refuse (Name, "a regular file", EINVAL);
  }
  Check (Name);
  SyncDirectoryOf (Path);
}

void
EventLog::Check (const std::string &Name)
{
  std::string Rest;
  std::array<char, LINE_SIZE_MAX> Block = {};
  UINTN LineNumber = 1;
  for (;;) {
    const ssize_t Count = read (File.Get (), Block.data (), Block.size ());
    if (Count < 0) {
      Refuse (Name, "a log that can be read", errno);
    }
    if (Count == 0) {
      break;
    }
    Rest.append (Block.data (), static_cast<UINTN> (Count));
    UINTN Start = 0;
    for (UINTN End = 0; (End = Rest.find ('\n', Start)) != std::string::npos; Start = End + 1) {
      const UINT64 Sequence = SequenceOf (std::string_view (Rest).substr (Start, End - Start));
      if (Sequence <= Last) {
        throw InputError (fmt::format ("{}: line {}: expected an event with a sequence number "
                                       "above {}",
                                       Name, LineNumber, Last));
      }
      Last = Sequence;
      Size += End + 1 - Start;
      ++LineNumber;
    }
    Rest.erase (0, Start);
    if (Rest.size () > LINE_SIZE_MAX) {
      throw InputError (
          fmt::format ("{}: line {}: expected at most {} bytes", Name, LineNumber, LINE_SIZE_MAX));
    }
  }
  if (!Rest.empty ()) {
    Mend (Name, Rest);
  }
}

void
EventLog::Mend (const std::string &Name, std::string_view Torn)
{
  // A crash of the system may leave the file's new size without the bytes, which are NULs then.
  const std::string_view Written = Torn.substr (0, Torn.find_last_not_of ('\0') + 1);
  const UINTN Compared = std::min (Written.size (), LINE_START.size ());
  if (Written.substr (0, Compared) != LINE_START.substr (0, Compared)) {
    throw InputError (fmt::format ("{}: expected events only", Name));
  }
  if (!CutBack () || fsync (File.Get ()) != 0) {
    Refuse (Name, "a log whose torn last line can be cut off", errno);
  }
  Cut = Torn.size ();
}

int
EventLog::Append (std::span<const UINT8> Data)
{
  const std::string Line = EventJson (Last + 1, Data) + "\n";
  if (!CutBack ()) {
    return errno;
  }
  errno = ENOSPC; // What a write that stops half-way means.
  if (write (File.Get (), Line.data (), Line.size ()) != static_cast<ssize_t> (Line.size ()) ||
      fsync (File.Get ()) != 0) {
    const int Reason = errno;
    // If this fails, too, the next event or the next start tries again.
    static_cast<void> (CutBack ());
    return Reason;
  }
  Size += Line.size ();
  ++Last;
  return 0;
}

bool
EventLog::CutBack ()
{
  return ftruncate (File.Get (), static_cast<off_t> (Size)) == 0;
}
