#include "BmcProcess.h"

#include <csignal>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>

#include "LocalSocket.h"
#include "MachineError.h"

namespace {

BmcEvent
ReadEvent (const nlohmann::json &Json)
{
  try {
    return {.Sequence = Json.at ("sequence"),
            .Class = Json.at ("class"),
            .Severity = Json.at ("severity"),
            .Id = Json.at ("id"),
            .Bytes = Json.at ("bytes")};
  } catch (const nlohmann::json::exception &) {
    throw MachineError (fmt::format ("BMC: expected an event, found {}", Json.dump ()));
  }
}

} // namespace

BmcProcess::BmcProcess (BmcProcessOptions Given) : Options (std::move (Given))
{
  Start ();
}

void
BmcProcess::Start ()
{
  std::vector<std::string> Arguments = {Options.Program.string (), "--json", "--listen",
                                        "unix:" + Options.Socket.string ()};
  if (!Options.Log.empty ()) {
    Arguments.insert (Arguments.end (), {"--log", Options.Log.string ()});
  }
  auto [Ours, Theirs] = ConnectedSockets ();
  // Complaints go where those of this process go.
  Process = std::make_unique<ChildProcess> (
      Arguments,
      ChildStreams{.Input = Theirs.Get (), .Output = Theirs.Get (), .Error = STDERR_FILENO});
  Channel = LineChannel (std::move (Ours), Options.Patience);
  Theirs.Close ();
  ReadUntil ({"listening"});
  ReadUntil ({"mode"});
}

void
BmcProcess::Stop ()
{
  Process->Signal (SIGTERM);
  const auto Status = Process->WaitForEnd (Deadline (Options.Patience));
  if (!Status || !WIFEXITED (*Status) || WEXITSTATUS (*Status) != 0) {
    throw MachineError ("BMC: stop: " +
                        (Status ? ChildStatusText (*Status) : std::string ("still runs")));
  }
}

void
BmcProcess::Kill ()
{
  Process->Signal (SIGKILL);
  Process->WaitForEnd (Deadline (Options.Patience));
}

void
BmcProcess::SetMode (const std::string &Mode)
{
  const std::string Now = Ask ("mode " + Mode, "mode");
  if (Now != Mode) {
    throw MachineError (fmt::format ("BMC: expected mode {}, found {}", Mode, Now));
  }
}

bool
BmcProcess::ReleaseAnswer ()
{
  return Ask ("answer", "answer") == "sent";
}

std::vector<BmcEvent>
BmcProcess::TakeEvents ()
{
  Ask ("mode", "mode");
  return std::exchange (Events, {});
}

BmcEvent
BmcProcess::WaitForEvent (int MachineEnd)
{
  if (Events.empty ()) {
    ReadUntil ({"sequence"}, MachineEnd);
  }
  BmcEvent First = Events.front ();
  Events.erase (Events.begin ());
  return First;
}

void
BmcProcess::WaitForRequest (int MachineEnd)
{
  if (Events.empty ()) {
    ReadUntil ({"sequence", "refused"}, MachineEnd);
  }
}

std::string
BmcProcess::Ask (const std::string &Line, const std::string &Key)
{
  Channel.WriteLine (Line);
  return ReadUntil ({Key});
}

/// Reads up to the line that has one of the keys, keeps all events, and returns the value if it is
/// a text.
std::string
BmcProcess::ReadUntil (const std::vector<std::string> &Keys, int SenderEnd)
{
  for (;;) {
    std::string Line;
    try {
      Line = Channel.ReadLine (SenderEnd);
    } catch (const MachineError &Error) {
      throw MachineError (fmt::format ("BMC: {}: {}", Keys.front (), Error.what ()));
    }
    const auto Json = nlohmann::json::parse (Line, nullptr, false);
    if (!Json.is_object ()) {
      throw MachineError (fmt::format ("BMC: expected an object, found {}", Line));
    }
    if (Json.contains ("sequence")) {
      Events.push_back (ReadEvent (Json));
    }
    for (const std::string &Key : Keys) {
      if (const auto Value = Json.find (Key); Value != Json.end ()) {
        return Value->is_string () ? Value->get<std::string> () : "";
      }
    }
  }
}
