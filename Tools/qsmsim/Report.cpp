#include "Commands.h"

#include <algorithm>
#include <memory>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "InputFile.h"
#include "Options.h"
#include "ReportOutput.h"

namespace {

namespace fs = std::filesystem;

constexpr const char *RECORD_SUFFIX = ".cper";

struct ReportArguments {
  std::vector<std::string> Records;
  std::string PlatformFile;
  std::string Processor = "0";
  std::string Driver;
  bool Json = false;
  bool Quiet = false;
  bool Raw = false;
};

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

/// Makes one call into the platform and judges how it ended.
template <typename Callable>
Outcome
Try (SimulatedPlatform &Platform, const CperFile *File, Callable &&Call)
{
  Outcome Outcome = {.File = File, .Result = {}, .Fault = {}};
  Platform.World.Forget ();
  try {
    Outcome.Result = Call ();
  } catch (const std::exception &Fault) {
    Outcome.Fault = Fault.what ();
    Outcome.Result.Log = Platform.World.Log;
    return Outcome;
  }
  if (!Outcome.Result.Stopped.empty ()) {
    Outcome.Fault = Outcome.Result.Stopped;
  } else if (EFI_ERROR (Outcome.Result.Status)) {
    Outcome.Fault = fmt::format ("the driver returned status 0x{:X}", Outcome.Result.Status);
  }
  return Outcome;
}

/// Boots the platform and reports the records one after the other, up to the first fault: a
/// processor that stopped does not come back. Hands the outcome of each record to Take, or the
/// outcome of the boot if that failed.
template <typename Consumer>
void
Run (const PlatformDescription &Description,
     const fs::path &Driver,
     std::span<const CperFile> Records,
     const ReportOptions &Options,
     Consumer &&Take)
{
  SimulatedPlatform Platform (Description);
  Outcome Boot = Try (Platform, nullptr, [&] { return Platform.LoadDriver (Driver); });
  if (Boot.Fault.empty ()) {
    Boot = Try (Platform, nullptr, [&] { return Platform.SignalReadyToLock (); });
  }
  if (!Boot.Fault.empty ()) {
    Take (Boot);
    return;
  }
  for (const CperFile &Record : Records) {
    const Outcome Reported =
        Try (Platform, &Record, [&] { return Platform.Report (Record.Bytes, Options); });
    Take (Reported);
    if (!Reported.Fault.empty ()) {
      return;
    }
  }
}

fs::path
DriverOption (const std::string &File)
{
  if (File.empty ()) {
    return BuiltDriver ();
  }
  std::error_code Error;
  if (!fs::is_regular_file (File, Error)) {
    throw InputError (fmt::format ("{}: expected a driver's shared object", File));
  }
  return File;
}

int
RunReport (const ReportArguments &Arguments, Console &Console)
{
  const std::vector<CperFile> Records = ReadRecords (Arguments, Console);
  const PlatformDescription Description = PlatformOption (Arguments.PlatformFile);
  const fs::path Driver = DriverOption (Arguments.Driver);
  ReportOptions Options;
  Options.Processor =
      NumberOption ("--cpu", Arguments.Processor, 0, Description.Processors.size () - 1);
  Options.Placement = Arguments.Raw ? RecordPlacement::ZeroFilledPage : RecordPlacement::Exact;
  Options.CodeType = EFI_ERROR_CODE | EFI_ERROR_MINOR;

  Summary Summary = {.Given = Records.size ()};
  nlohmann::ordered_json Json = {{"platform", Description.Name},
                                 {"cpu", Options.Processor},
                                 {"records", nlohmann::ordered_json::array ()}};
  {
    Progress Progress (Console, "reporting", Records.size (), !Arguments.Json);
    Run (Description, Driver, Records, Options, [&] (const Outcome &Outcome) {
      Summary.Add (Outcome);
      if (!Arguments.Json) {
        PrintOutcome (Console, Outcome, !Arguments.Quiet);
      } else if (Outcome.File == nullptr) {
        Json["boot"] = OutcomeJson (Outcome, !Arguments.Quiet);
      } else {
        Json["records"].push_back (OutcomeJson (Outcome, !Arguments.Quiet));
      }
      Progress.Step ();
    });
  }
  if (Arguments.Json) {
    Json["summary"] = SummaryJson (Summary);
    Console.Out << Json.dump (2, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
  } else if (Records.size () > 1) {
    PrintSummary (Console, Summary);
  }
  return Summary.Faults == 0 ? EXIT_DONE : EXIT_FAULT;
}

} // namespace

void
AddReportCommand (CLI::App &App, Console &Console, int &ExitCode)
{
  CLI::App *Report = App.add_subcommand (
      "report", "Report error records to the driver and print what the BMC gets");
  const auto Arguments = std::make_shared<ReportArguments> ();
  Report
      ->add_option (
          "RECORD", Arguments->Records,
          fmt::format ("Files of one CPER each; of a directory, those named *{}", RECORD_SUFFIX))
      ->required ();
  Report->add_option ("--platform", Arguments->PlatformFile, PLATFORM_HELP)->type_name ("FILE");
  Report->add_option ("--cpu", Arguments->Processor, "Index of the processor that reports")
      ->type_name ("N")
      ->capture_default_str ();
  Report
      ->add_option ("--driver", Arguments->Driver,
                    "Shared object of another build of the driver; this build's unless given")
      ->type_name ("FILE");
  Report->add_flag ("--json", Arguments->Json, "Print one JSON document");
  Report->add_flag ("--quiet", Arguments->Quiet, "Leave the driver's log out");
  Report->add_flag ("--raw", Arguments->Raw,
                    "Look at nothing and refuse nothing: hand the bytes over in a page of zeros, "
                    "as a careless reporter would");
  Report->callback ([=, &Console, &ExitCode] { ExitCode = RunReport (*Arguments, Console); });
}
