#include "MachineRun.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include <fmt/format.h>
#include <unistd.h>

#include "ChildProcess.h"
#include "Debugging.h"
#include "InputFile.h"
#include "Interruption.h"
#include "MachineError.h"
#include "TemporaryDirectory.h"

namespace {

constexpr UINTN LOG_SIZE_MAX = 64 << 20;

/// How the machine ends when all is well: QEMU and the ROM end with other numbers by themselves.
constexpr int GOOD_END = 16;

/// The log as far as it came, also of a machine that did not start.
std::string
LogText (const std::filesystem::path &File)
{
  std::error_code Ignored;
  return std::filesystem::exists (File, Ignored) ? ReadInputFile (File, LOG_SIZE_MAX) : "";
}

void
Run (const RunPlan &Plan, const MachineOptions &Options, RunReport &Report)
{
  const std::string Lines = Options.IsStopped ? DebuggerLines (Options) : "";
  std::optional<BmcProcess> Bmc;
  if (Options.BmcPort == 0) {
    Bmc.emplace (BmcProcessOptions{.Program = Plan.BmcProgram,
                                   .Socket = Options.BmcSocket,
                                   .Log = Options.Directory / "events.jsonl",
                                   .Patience = Options.Patience});
  }
  EmulatedMachine Machine (Options);
  std::optional<ChildProcess> Follower;
  if (Options.IsStopped) {
    const MachineFiles Files = FilesIn (Options.Directory);
    Plan.Tell (fmt::format ("qsmmachine: waiting for gdb; type there:\n{}"
                            "qsmmachine: following {} and {}\n",
                            Lines, Files.DebugLog.string (), Files.RasLog.string ()));
    Follower.emplace (
        std::vector<std::string>{"tail", "-n", "+1", "-f", Files.DebugLog, Files.RasLog},
        ChildStreams{.Output = STDERR_FILENO});
  }
  Machine.WaitUntilReady ();
  for (const Injection &Error : Plan.Injections) {
    std::vector<BmcEvent> Events;
    if (Bmc) {
      Report.Steps.push_back ({.Error = Error, .Events = {}});
    }
    Error.Kind->Inject (Machine, Options, Error.Number);
    // Nobody may look before the interrupt has brought the error to the BMC.
    if (Bmc && Error.Kind->Notice == ErrorNotice::Interrupt) {
      Events.push_back (
          Machine.Guard (fmt::format ("{}@{}: no event", Error.Kind->Name, TargetText (Error)),
                         [&] { return Bmc->WaitForEvent (Machine.EndDescriptor ()); }));
    }
    // Here the other errors are seen, and when it is done all processors are at rest.
    Machine.Command ("poll all");
    if (!Bmc) {
      continue;
    }
    std::ranges::move (Bmc->TakeEvents (), std::back_inserter (Events));
    Report.Steps.back ().Events = Events;
    if (Events.empty ()) {
      throw MachineError (
          fmt::format ("{}@{}: the BMC has got no event", Error.Kind->Name, TargetText (Error)));
    }
  }
  Report.State = Machine.Command ("state");
  if (const int Number = Machine.Exit (GOOD_END); Number != GOOD_END) {
    throw MachineError (fmt::format ("the machine ended with {}", Number));
  }
}

} // namespace

RunReport
RunMachine (const RunPlan &Plan)
{
  const Interruption Signals;
  TemporaryDirectory Directory;
  MachineOptions Options = Plan.Machine;
  Options.Directory = Directory.Path ();
  Options.Bmc = BmcConnection::External;
  Options.BmcSocket = Directory.Path () / "bmc";
  RunReport Report;
  try {
    Run (Plan, Options, Report);
  } catch (const MachineFailure &Failure) {
    Report.Fault = Failure.Reason;
    Report.Processors = Failure.Processors;
  } catch (const MachineError &Error) {
    Report.Fault = Error.what ();
  }
  if (Plan.IsKept || !Report.Processors.empty ()) {
    Directory.Keep ();
    Report.Directory = Directory.Path ().string ();
  }
  const MachineFiles Files = FilesIn (Directory.Path ());
  Report.RasLog = LogText (Files.RasLog);
  Report.DebugLog = LogText (Files.DebugLog);
  Report.QemuLog = LogText (Files.Errors);
  return Report;
}

std::string
TargetText (const Injection &Error)
{
  return fmt::format ("{}{}", Error.Kind->Target.Prefix, Error.Number);
}
