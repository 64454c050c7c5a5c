#include "Commands.h"

#include <algorithm>

#include <fmt/format.h>

#include "Boot.h"
#include "Failures.h"
#include "InputFile.h"
#include "ReportWriter.h"
#include "ToolOptions.h"
#include "ToolRun.h"

namespace {

namespace fs = std::filesystem;

/// A directory stands for its record files, in the order of their names.
std::vector<fs::path>
FilesOf (const fs::path &Path)
{
  std::error_code Error;
  if (!fs::is_directory (Path, Error)) {
    return {Path};
  }
  std::vector<fs::path> Files;
  fs::directory_iterator Entries (Path, Error);
  if (Error) {
    throw InputError (
        fmt::format ("{}: expected a readable directory: {}", Path.string (), Error.message ()));
  }
  for (const fs::directory_entry &Entry : Entries) {
    if (Entry.path ().extension () == RECORD_SUFFIX) {
      Files.push_back (Entry.path ());
    }
  }
  if (Files.empty ()) {
    throw InputError (
        fmt::format ("{}: expected files named *{}, found none", Path.string (), RECORD_SUFFIX));
  }
  std::ranges::sort (Files);
  return Files;
}

std::vector<CperFile>
ReadRecords (const ReportArguments &Arguments, Console &Console)
{
  std::vector<fs::path> Paths;
  for (const std::string &Record : Arguments.Records) {
    const std::vector<fs::path> Files = FilesOf (Record);
    Paths.insert (Paths.end (), Files.begin (), Files.end ());
  }
  std::vector<CperFile> Records;
  Progress Progress (Console, "reading", Paths.size ());
  for (const fs::path &Path : Paths) {
    Records.push_back (Arguments.Raw ? ReadRawFile (Path) : ReadCperFile (Path));
    Progress.Step ();
  }
  return Records;
}

/// Boots the platform and reports the records one after the other, up to the first fault: a
/// processor that stopped does not come back. Hands the outcome of each record to Take, or the
/// outcome of the boot if that failed.
template <typename Consumer>
void
Run (const BootPlan &Plan,
     const FailurePlan &Failures,
     std::span<const CperFile> Records,
     const ReportOptions &Options,
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
  for (const CperFile &Record : Records) {
    const Outcome Reported = ReportRecord (Platform, Record, Options);
    Take (Reported);
    if (!Reported.Fault.empty ()) {
      return;
    }
  }
}

} // namespace

int
RunReport (const ReportArguments &Arguments, Console &Console)
{
  const std::vector<CperFile> Records = ReadRecords (Arguments, Console);
  const BootPlan Plan = ReadBootPlan (Arguments.Boot);
  const FailurePlan Failures = ReadFailurePlan (Arguments.Failures);
  ReportOptions Options;
  Options.Processor =
      NumberOption ("--cpu", Arguments.Processor, 0, Plan.Platform.Processors.size () - 1);
  Options.Placement = Arguments.Raw ? RecordPlacement::ZeroFilledPage : RecordPlacement::Exact;
  Options.CodeType = EFI_ERROR_CODE | EFI_ERROR_MINOR;
  ReadStatusCode (Arguments.Failures, Options);

  Summary Summary = {.Given = Records.size ()};
  const RecordDecoder Decoder (Plan.Platform, Options.Processor);
  const auto Writer = Arguments.Json ? JsonReport (Console, Decoder, !Arguments.Quiet)
                                     : TextReport (Console, Decoder, !Arguments.Quiet);
  {
    Progress Progress (Console, "reporting", Records.size (), !Arguments.Json);
    Run (Plan, Failures, Records, Options, [&] (const Outcome &Outcome) {
      Summary.Add (Outcome);
      Writer->Take (Outcome);
      Progress.Step ();
    });
  }
  Writer->Close (Summary);
  return Summary.Faults == 0 ? EXIT_DONE : EXIT_FAULT;
}
