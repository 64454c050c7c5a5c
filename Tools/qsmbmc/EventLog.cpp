#include "EventLog.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sys/file.h>

#include "CompletionCode.h"
#include "Console.h"
#include "Event.h"
#include "InputFile.h"

namespace {

/// Longer than any line of a log.
constexpr UINTN LINE_SIZE_MAX = 4096;

/// What the line of an event begins with, and that of a refusal.
constexpr std::string_view EVENT_START = R"({"sequence":)", REFUSAL_START = R"({"refused":)";

[[noreturn]] void
Refuse (const std::string &Name, std::string_view Expected, int Reason)
{
  throw InputError (fmt::format ("{}: expected {}: {}", Name, Expected, std::strerror (Reason)));
}

/// Whether the line is that of a refusal.
bool
IsRefusal (std::string_view Line)
{
  return Line.starts_with (REFUSAL_START) && nlohmann::json::accept (Line);
}

/// The sequence number of an event's line; 0 if it is none.
UINT64
SequenceOf (std::string_view Line)
{
  const auto Json = nlohmann::json::parse (Line, nullptr, false);
  if (!Json.is_object () || !Line.starts_with (EVENT_START)) {
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
TimeText (std::time_t Time)
{
  return fmt::format ("{:%FT%TZ}", fmt::gmtime (Time));
}

std::string
LineJson (const TakenEvent &Taken)
{
  const Event Event = DecodeEvent (Taken.Data);
  return nlohmann::ordered_json{{"sequence", Taken.Sequence},
                                {"time", TimeText (Taken.Time)},
                                {"class", ErrorClassText (Event.ErrorClass)},
                                {"severity", EventSeverityText (Event.Severity)},
                                {"id", Event.DeviceId},
                                {"bytes", HexText (Taken.Data)}}
      .dump ();
}

std::string
LineJson (const RefusedRequest &Refusal)
{
  const IpmiMessage &Request = Refusal.Request;
  return nlohmann::ordered_json{{"refused", CompletionCodeName (Refusal.CompletionCode)},
                                {"completionCode", Refusal.CompletionCode},
                                {"time", TimeText (Refusal.Time)},
                                {"netFunction", Request.NetFunction},
                                {"lun", Request.Lun},
                                {"command", Request.Command},
                                {"bytes", HexText (Request.Data)}}
      .dump ();
}

std::string
LineText (const TakenEvent &Taken)
{
  return fmt::format ("{}: {}, {}: {}", Taken.Sequence, TimeText (Taken.Time),
                      EventText (DecodeEvent (Taken.Data)), HexText (Taken.Data));
}

std::string
LineText (const RefusedRequest &Refusal)
{
  const IpmiMessage &Request = Refusal.Request;
  return fmt::format ("refused: {}, {}, NetFn 0x{:02X}, LUN {}, Cmd 0x{:02X}: {}",
                      TimeText (Refusal.Time), CompletionCodeText (Refusal.CompletionCode),
                      Request.NetFunction, Request.Lun, Request.Command, HexText (Request.Data));
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
      const auto Line = std::string_view (Rest).substr (Start, End - Start);
      if (!IsRefusal (Line)) {
        const UINT64 Sequence = SequenceOf (Line);
        if (Sequence <= Last) {
          throw InputError (fmt::format ("{}: line {}: expected an event with a sequence number "
                                         "above {}",
                                         Name, LineNumber, Last));
        }
        Last = Sequence;
      }
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
  const auto BeginsWith = [&] (std::string_view Start) {
    const UINTN Compared = std::min (Written.size (), Start.size ());
    return Written.substr (0, Compared) == Start.substr (0, Compared);
  };
  if (!BeginsWith (EVENT_START) && !BeginsWith (REFUSAL_START)) {
    throw InputError (fmt::format ("{}: expected events only", Name));
  }
  if (!CutBack () || fsync (File.Get ()) != 0) {
    Refuse (Name, "a log whose torn last line can be cut off", errno);
  }
  Cut = Torn.size ();
}

int
EventLog::Append (const TakenEvent &Event)
{
  const int Reason = AppendLine (LineJson (Event));
  Last += Reason == 0 ? 1 : 0;
  return Reason;
}

int
EventLog::Append (const RefusedRequest &Refusal)
{
  return AppendLine (LineJson (Refusal));
}

int
EventLog::AppendLine (std::string Line)
{
  Line += '\n';
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
  return 0;
}

bool
EventLog::CutBack ()
{
  return ftruncate (File.Get (), static_cast<off_t> (Size)) == 0;
}
