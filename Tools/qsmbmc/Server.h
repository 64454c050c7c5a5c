/// The process around the BMC: its connection, its standard input and how it ends.
#pragma once

#include "Bmc.h"
#include "Console.h"
#include "EventLog.h"
#include "Listener.h"

/// Turns SIGINT and SIGTERM, from here on, into a descriptor that can be read.
FileDescriptor CatchEndSignals ();

class Server {
public:
  /// Keeper is null if events are not kept. All of them outlive the server.
  Server (Listener &At, EventLog *Keeper, BmcMode Mode, bool Json, Console &Console);

  /// Serves one machine after the other until Signals can be read, or until standard output fails.
  /// Throws InputError if the system has no means left to serve one.
  void Run (const FileDescriptor &Signals);

private:
  void Tell (const char *Key, const std::string &Value);

  /// Keeps an event or a refusal in the log, if there is one. Returns 0 or an error number.
  template <typename Entry> int Keep (const Entry &New);
  template <typename Entry> void Print (const Entry &New);

  CompletionCode TakeEvent (std::span<const UINT8> Data);
  void TellRefusal (const IpmiMessage &Request, UINT8 Code);
  void Accept ();
  void Receive ();
  void Send (std::span<const UINT8> Bytes);
  void ReadInput ();
  void Obey (const std::string &Line);

  Listener &Listening;
  EventLog *Log;
  UINT64 Sequence; ///< Of the last event.
  bool AsJson;
  Console &Streams;
  Bmc Controller;
  FileDescriptor Client;
  FrameReader Reader;
  bool InputIsOpen = true;
  std::string Input; ///< A line of standard input as far as it has come.
};
