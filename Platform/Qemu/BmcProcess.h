/// A BMC in a process of its own, for a machine to talk to.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Base.h"
#include "ChildProcess.h"
#include "LineChannel.h"

struct BmcProcessOptions {
  std::filesystem::path Program = {}; ///< qsmbmc.
  std::filesystem::path Socket = {};  ///< Where it listens.
  std::filesystem::path Log = {};     ///< Where it keeps the events; nowhere if empty.

  /// No line of it is waited for longer.
  std::chrono::milliseconds Patience = std::chrono::seconds (30);
};

/// An event as the BMC has taken it.
struct BmcEvent {
  UINT64 Sequence = 0;
  std::string Class, Severity, Id, Bytes;

  bool operator== (const BmcEvent &) const = default;
};

/// All functions throw MachineError when the process does not do its part.
class BmcProcess {
public:
  /// Starts the process and waits until it listens.
  explicit BmcProcess (BmcProcessOptions Given);

  /// Starts it again, behind Stop or Kill.
  void Start ();

  /// Ends it as an operator does.
  void Stop ();

  /// Ends it as a crash does.
  void Kill ();

  /// Changes how it answers, as docs/bmc.md has it: "mute", "refuse 0xC0", ... Events that came
  /// before are kept for TakeEvents.
  void SetMode (const std::string &Mode);

  /// Sends the answer that the mode "late" holds back. Returns whether there was one.
  bool ReleaseAnswer ();

  /// The events since the last call, in their order; all that the BMC had taken at this moment.
  std::vector<BmcEvent> TakeEvents ();

  /// The next event, for which it waits, but not when the descriptor MachineEnd becomes readable,
  /// behind which nobody sends one; -1 is none.
  BmcEvent WaitForEvent (int MachineEnd = -1);

  /// Waits for the next request that is an event or that the BMC refuses, as WaitForEvent does. An
  /// event is kept for TakeEvents.
  void WaitForRequest (int MachineEnd = -1);

private:
  std::string Ask (const std::string &Line, const std::string &Key);
  std::string ReadUntil (const std::vector<std::string> &Keys, int SenderEnd = -1);

  BmcProcessOptions Options;
  std::unique_ptr<ChildProcess> Process;
  LineChannel Channel;
  std::vector<BmcEvent> Events;
};
