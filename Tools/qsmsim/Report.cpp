#include "Commands.h"

#include <fmt/format.h>

#include "Boot.h"
#include "Failures.h"
#include "InputFile.h"
#include "RecordSource.h"
#include "ReportWriter.h"
#include "ToolOptions.h"
#include "ToolRun.h"

namespace {

std::unique_ptr<ReportWriter>
MakeWriter (const ReportArguments &Arguments,
            const PlatformDescription &Platform,
            Console &Console,
            const RecordDecoder &Decoder)
{
  const bool WithLog = !Arguments.Quiet;
  if (Arguments.Dot) {
    return DotReport (Console, Platform);
  }
  if (Arguments.JsonLines) {
    return JsonLinesReport (Console, Decoder, WithLog);
  }
  return Arguments.Json ? JsonReport (Console, Decoder, WithLog)
                        : TextReport (Console, Decoder, WithLog);
}

/// The next record. Each piece of the input that is none is complained of and counted.
std::optional<CperFile>
NextRecord (RecordSource &Source, Console &Console, Summary &Summary)
{
  for (;;) {
    try {
      return Source.Next ();
    } catch (const InputError &Error) {
      ++Summary.Refused;
      Complain (Console, "qsmsim", Error.what ());
    }
  }
}

/// Boots the platform and reports the records one after the other, up to the first fault: a
/// processor that stopped does not come back. Hands the outcome of each record to Take, or the
/// outcome of the boot if that failed. Take returns whether to go on.
template <typename Producer, typename Consumer>
void
Run (const BootPlan &Plan,
     const FailurePlan &Failures,
     const ReportOptions &Options,
     Producer &&Next,
     Consumer &&Take)
{
  SimulatedPlatform Platform (Plan.Platform);
  Failures.PlayAtBoot (Platform);
  const Outcome Booted = Boot (Platform, Plan);
  if (!Booted.Fault.empty ()) {
    Take (Booted);
    return;
  }
  Failures.PlayAtReports ();
  while (const std::optional<CperFile> Record = Next ()) {
    if (!Take (ReportRecord (Platform, *Record, Options))) {
      return;
    }
  }
}

int
ExitCode (const ReportArguments &Arguments, const Summary &Summary)
{
  if (Summary.Refused != 0) {
    return EXIT_INPUT;
  }
  return Summary.Faults != 0 || (Arguments.Strict && Summary.Dropped != 0) ? EXIT_FAULT : EXIT_DONE;
}

} // namespace

int
RunReport (const ReportArguments &Arguments, Console &Console)
{
  const BootPlan Plan = ReadBootPlan (Arguments.Boot);
  const FailurePlan Failures = ReadFailurePlan (Arguments.Failures);
  ReportOptions Options;
  Options.Processor =
      NumberOption ("--cpu", Arguments.Processor, 0, Plan.Platform.Processors.size () - 1);
  Options.Placement = Arguments.Raw ? RecordPlacement::ZeroFilledPage : RecordPlacement::Exact;
  Options.CodeType = EFI_ERROR_CODE | EFI_ERROR_MINOR;
  ReadStatusCode (Arguments.Failures, Options);

  RecordSource Source (Arguments.Records, Arguments.Raw, Console.Out);
  Summary Summary;
  const RecordDecoder Decoder (Plan.Platform, Options);
  const auto Writer = MakeWriter (Arguments, Plan.Platform, Console, Decoder);
  {
    Progress Progress (Console, "records reported", !Arguments.Json && !Arguments.Dot);
    Run (
        Plan, Failures, Options, [&] { return NextRecord (Source, Console, Summary); },
        [&] (const Outcome &Outcome) {
          Summary.Add (Outcome);
          Writer->Take (Outcome);
          Progress.Step ();
          return Outcome.Fault.empty () && Console.Out.good ();
        });
  }
  if (Summary.Records + Summary.Refused + Summary.Faults == 0) {
    throw InputError (fmt::format ("{}: expected a directory with error records, found none",
                                   fmt::join (Arguments.Records, ", ")));
  }
  Writer->Close (Summary);
  return ExitCode (Arguments, Summary);
}
