#include "Outcome.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <string_view>

#include <fmt/format.h>

namespace {

std::vector<std::string>
LinesOf (std::span<const DebugLine> Log)
{
  std::vector<std::string> Lines;
  for (const DebugLine &Entry : Log) {
    std::string_view Rest = Entry.Text;
    while (!Rest.empty ()) {
      const std::size_t End = std::min (Rest.find ('\n'), Rest.size ());
      if (End != 0) {
        Lines.emplace_back (Rest.substr (0, End));
      }
      Rest.remove_prefix (std::min (End + 1, Rest.size ()));
    }
  }
  return Lines;
}

/// Sorts what was sent into what arrived and what did not.
void
TakeRequests (std::vector<BmcRequest> Requests, Outcome &Outcome)
{
  const auto Lost = std::stable_partition (Requests.begin (), Requests.end (),
                                           [] (const BmcRequest &Each) { return Each.IsTaken (); });
  std::move (Lost, Requests.end (), std::back_inserter (Outcome.Lost));
  Requests.erase (Lost, Requests.end ());
  Outcome.Events = std::move (Requests);
}

std::string
FaultOf (const CallResult &Result)
{
  if (!Result.Stopped.empty ()) {
    return Result.Stopped;
  }
  return EFI_ERROR (Result.Status)
             ? fmt::format ("the driver returned status 0x{:X}", Result.Status)
             : "";
}

} // namespace

Outcome
JudgeStep (CallResult Result)
{
  Outcome Outcome;
  Outcome.Log = LinesOf (Result.Log);
  Outcome.Fault = FaultOf (Result);
  TakeRequests (std::move (Result.Events), Outcome);
  if (!Outcome.Fault.empty ()) {
    Outcome.Dropped = ReasonOfLog (Outcome.Log);
  }
  return Outcome;
}

Outcome
JudgeReport (const ReportedRecord &Reported, CallResult Result)
{
  // The answer to a status code that is not for the driver is no failure.
  if (Result.Status == EFI_UNSUPPORTED && !IsStatusCodeOfDriver (Reported.Options)) {
    Result.Status = EFI_SUCCESS;
  }
  Outcome Outcome = JudgeStep (std::move (Result));
  Outcome.File = &Reported.File;
  if (Outcome.Fault.empty () && Outcome.Events.empty ()) {
    Outcome.Dropped = WhyDropped (Reported, Outcome.Log, Outcome.Lost);
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
