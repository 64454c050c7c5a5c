#include "Outcome.h"

#include <span>
#include <sstream>

#include <fmt/format.h>

namespace {

constexpr struct {
  const char *LineStart;
  const char *DropReason;
} LogReasons[] = {
    {"[System Inventory Information] Protocol Data NOT Ready", "the inventory is not ready"},
    {"Device is not Found Flag", "no device of the inventory gives an event for it"},
};

std::vector<std::string>
LinesOf (std::span<const DebugLine> Log)
{
  std::vector<std::string> Lines;
  for (const DebugLine &Entry : Log) {
    std::istringstream Text (Entry.Text);
    for (std::string Line; std::getline (Text, Line);) {
      if (!Line.empty ()) {
        Lines.push_back (Line);
      }
    }
  }
  return Lines;
}

void
FindDropReason (Outcome &Outcome)
{
  for (const std::string &Line : Outcome.Log) {
    for (const auto &Row : LogReasons) {
      if (Line.starts_with (Row.LineStart)) {
        Outcome.DropReason = Row.DropReason;
        Outcome.DropLine = Line;
        return;
      }
    }
  }
  Outcome.DropReason = Outcome.Log.empty () ? "the driver knows no such section, and logs nothing"
                                            : "the log does not say why";
}

} // namespace

Outcome
JudgeCall (const CperFile *File, const CallResult &Result)
{
  Outcome Outcome;
  Outcome.File = File;
  Outcome.Log = LinesOf (Result.Log);
  Outcome.Events = Result.Events;
  if (!Result.Stopped.empty ()) {
    Outcome.Fault = Result.Stopped;
  } else if (EFI_ERROR (Result.Status)) {
    Outcome.Fault = fmt::format ("the driver returned status 0x{:X}", Result.Status);
  } else if (File != nullptr && Result.Events.empty ()) {
    FindDropReason (Outcome);
  }
  return Outcome;
}

Outcome
JudgeFault (const CperFile *File, std::string Fault, const std::vector<DebugLine> &Log)
{
  Outcome Outcome;
  Outcome.File = File;
  Outcome.Log = LinesOf (Log);
  Outcome.Fault = std::move (Fault);
  return Outcome;
}

void
Summary::Add (const Outcome &Outcome)
{
  Reported += Outcome.File != nullptr ? 1 : 0;
  if (!Outcome.Fault.empty ()) {
    ++Faults;
  } else if (Outcome.Events.empty ()) {
    ++Dropped;
  } else {
    ++Events;
  }
}
