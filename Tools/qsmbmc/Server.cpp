#include "Server.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>

#include "InputFile.h"
#include "ToolRun.h"

namespace {

constexpr UINTN INPUT_LINE_SIZE_MAX = 256;

/// Throws the InputError of a failure that another try would only meet again.
void
RefuseUnlessPassing (const char *Expected)
{
  if (errno != EINTR && errno != EAGAIN && errno != ECONNABORTED) {
    throw InputError (fmt::format ("expected {}: {}", Expected, std::strerror (errno)));
  }
}

} // namespace

FileDescriptor
CatchEndSignals ()
{
  sigset_t Signals;
  sigemptyset (&Signals);
  sigaddset (&Signals, SIGINT);
  sigaddset (&Signals, SIGTERM);
  sigprocmask (SIG_BLOCK, &Signals, nullptr);
  return FileDescriptor (signalfd (-1, &Signals, SFD_CLOEXEC));
}

Server::Server (Listener &At, EventLog *Keeper, BmcMode Mode, bool Json, Console &Console)
    : Listening (At), Log (Keeper), Sequence (Keeper != nullptr ? Keeper->LastSequence () : 0),
      AsJson (Json), Streams (Console),
      Controller ([this] (std::span<const UINT8> Data) { return TakeEvent (Data); },
                  [this] (const IpmiMessage &Request, UINT8 Code) { TellRefusal (Request, Code); })
{
  Controller.Mode = Mode;
}

void
Server::Run (const FileDescriptor &Signals)
{
  Tell ("listening", Listening.Address ());
  Tell ("mode", BmcModeText (Controller.Mode));
  while (Streams.Out) {
    // Descriptors below 0 are not looked at. A second machine waits until the first has gone.
    pollfd Waited[] = {
        {.fd = Signals.Get (), .events = POLLIN, .revents = 0},
        {.fd = InputIsOpen ? STDIN_FILENO : -1, .events = POLLIN, .revents = 0},
        {.fd = Client.IsOpen () ? -1 : Listening.Descriptor (), .events = POLLIN, .revents = 0},
        {.fd = Client.Get (), .events = POLLIN, .revents = 0},
    };
    if (poll (Waited, std::size (Waited), -1) < 0) {
      RefuseUnlessPassing ("to wait for a machine");
      continue;
    }
    if (Waited[0].revents != 0) {
      return;
    }
    if (Waited[1].revents != 0) {
      ReadInput ();
    }
    if (Waited[2].revents != 0) {
      Accept ();
    }
    if (Waited[3].revents != 0) {
      Receive ();
    }
  }
}

void
Server::Tell (const char *Key, const std::string &Value)
{
  Streams.Out << (AsJson ? nlohmann::json{{Key, Value}}.dump ()
                         : fmt::format ("{} {}", Key, ShownText (Value)))
              << std::endl;
}

template <typename Entry>
int
Server::Keep (const Entry &New)
{
  return Log != nullptr ? Log->Append (New) : 0;
}

template <typename Entry>
void
Server::Print (const Entry &New)
{
  Streams.Out << (AsJson ? LineJson (New) : LineText (New)) << std::endl;
}

CompletionCode
Server::TakeEvent (std::span<const UINT8> Data)
{
  const TakenEvent Event = {Sequence + 1, std::time (nullptr), Data};
  if (const int Reason = Keep (Event); Reason != 0) {
    Complain (Streams, "qsmbmc", fmt::format ("event not kept: {}", std::strerror (Reason)));
    return Reason == ENOSPC ? CompletionOutOfSpace : CompletionUnspecified;
  }
  Print (Event);
  ++Sequence;
  return CompletionNormal;
}

void
Server::TellRefusal (const IpmiMessage &Request, UINT8 Code)
{
  const RefusedRequest Refusal = {Request, Code, std::time (nullptr)};
  if (const int Reason = Keep (Refusal); Reason != 0) {
    Complain (Streams, "qsmbmc", fmt::format ("refusal not kept: {}", std::strerror (Reason)));
  }
  Print (Refusal);
}

void
Server::Accept ()
{
  Client = FileDescriptor (
      accept4 (Listening.Descriptor (), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
  if (!Client.IsOpen ()) {
    RefuseUnlessPassing ("a machine's connection");
    return;
  }
  Reader = {};
  Send (Controller.Connect ());
}

void
Server::Receive ()
{
  std::array<UINT8, FRAME_SIZE_MAX> Bytes = {};
  const ssize_t Count = read (Client.Get (), Bytes.data (), Bytes.size ());
  if (Count < 0 && (errno == EAGAIN || errno == EINTR)) {
    return;
  }
  if (Count <= 0) {
    Client.Close ();
    return;
  }
  for (const UINT8 Byte : std::span (Bytes).first (static_cast<UINTN> (Count))) {
    if (const auto Frame = Reader.Take (Byte)) {
      Send (Controller.Take (*Frame));
    }
  }
}

void
Server::Send (std::span<const UINT8> Bytes)
{
  // A machine that leaves kilobytes of answers unread does not talk IPMI.
  if (Client.IsOpen () && send (Client.Get (), Bytes.data (), Bytes.size (), MSG_NOSIGNAL) !=
                              static_cast<ssize_t> (Bytes.size ())) {
    Client.Close ();
  }
}

void
Server::ReadInput ()
{
  std::array<char, INPUT_LINE_SIZE_MAX> Bytes = {};
  const ssize_t Count = read (STDIN_FILENO, Bytes.data (), Bytes.size ());
  if (Count <= 0) {
    InputIsOpen = false;
    return;
  }
  for (const char Character : std::span (Bytes).first (static_cast<UINTN> (Count))) {
    if (Character == '\n') {
      Obey (std::exchange (Input, {}));
    } else if (Input.size () < INPUT_LINE_SIZE_MAX) {
      Input += Character;
    }
  }
}

void
Server::Obey (const std::string &Line)
{
  constexpr std::string_view MODE_PREFIX = "mode ";
  if (Line == "answer") {
    const std::vector<UINT8> Answer = Controller.Release ();
    Send (Answer);
    Tell ("answer", Answer.empty () ? "none" : "sent");
  } else if (Line == "mode") {
    Tell ("mode", BmcModeText (Controller.Mode));
  } else if (Line.starts_with (MODE_PREFIX)) {
    try {
      Controller.Mode = ParseBmcMode (Line.substr (MODE_PREFIX.size ()));
      Tell ("mode", BmcModeText (Controller.Mode));
    } catch (const InputError &Error) {
      Complain (Streams, "qsmbmc", Error.what ());
    }
  } else {
    Complain (Streams, "qsmbmc", fmt::format ("expected mode or answer, found \"{}\"", Line));
  }
}
