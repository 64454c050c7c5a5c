/// Events in the forms in which people find them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Event.h"

enum class EventForm {
  Command,  ///< The bytes of the command, or of its data alone.
  LogLine,  ///< A line of a log of qsmbmc, as it prints or as it keeps it.
  SelRecord ///< A record of the system event log, of the type 0xE0 (IPMI 2.0, table 32-3).
};

/// An event, and what is known of it beside.
struct FoundEvent : Event {
  explicit FoundEvent (const Event &Decoded) : Event (Decoded) {}

  EventForm Form = EventForm::Command;
  std::vector<UINT8> Bytes;        ///< The data of the command; of a record its 13 bytes.
  bool IdMayBeCut = false;         ///< The id may be longer on the machine.
  std::optional<UINT64> Number;    ///< Of the line or the record.
  std::optional<std::string> Time; ///< UTC, as ISO 8601 has it.
  std::optional<UINT8> Refusal;    ///< The completion code of an event not taken.
  std::string Words;               ///< What stands beside the bytes, if it is not what they say.
};

/// Finds out which form the text has, and reads it. Throws InputError with one line for what is
/// none of them, and for what no BMC takes for an event.
FoundEvent ReadEvent (const std::string &Text);
