/// The BMC behind its wire: which bytes it answers to which.
#pragma once

#include <functional>
#include <vector>

#include "BmcMode.h"
#include "CompletionCode.h"
#include "IpmiFrame.h"

/// One BMC, with one machine at its wire. Each request is answered by Get Device ID, the event
/// command or a refusal; the mode then decides what becomes of that answer. Events are taken in all
/// modes but Refuse.
class Bmc {
public:
  /// Takes the data of a good event, and returns what the machine is told.
  using EventTaker = std::function<CompletionCode (std::span<const UINT8> Data)>;

  /// Is told of each request that is refused, and by which completion code.
  using RefusalTeller = std::function<void (const IpmiMessage &Request, UINT8 Code)>;

  Bmc (EventTaker Taker, RefusalTeller Teller)
      : TakeEvent (std::move (Taker)), TellRefusal (std::move (Teller))
  {
  }

  /// The machine is connected, anew or again: no answer is held back any more. Returns the bytes to
  /// greet it with.
  std::vector<UINT8> Connect ();

  /// Takes a frame of the machine and returns the bytes to send to it. What is no request is not
  /// answered.
  std::vector<UINT8> Take (const Frame &Frame);

  /// The answer that is held back, to be sent now; empty if there is none.
  std::vector<UINT8> Release ();

  BmcMode Mode;

private:
  IpmiMessage Answer (const IpmiMessage &Request);
  CompletionCode JudgeEvent (const IpmiMessage &Request);

  EventTaker TakeEvent;
  RefusalTeller TellRefusal;
  std::vector<UINT8> Held;
};
