#include "MachineRun.h"

#include <optional>

#include <fmt/format.h>
#include <unistd.h>

#include "ChildProcess.h"
#include "CompletionCode.h"
#include "Debugging.h"
#include "InputFile.h"
#include "Interruption.h"
#include "MachineError.h"
#include "MachineReport.h"
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
    if (!Plan.BmcMode.empty ()) {
      Bmc->SetMode (Plan.BmcMode);
    }
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
    const std::string Name = fmt::format ("{}@{}", Error.Kind->Name, TargetText (Error));
    const std::size_t LogStart = Machine.DebugLog ().size ();
    if (Bmc) {
      Report.Steps.push_back ({.Error = Error, .Events = {}});
    }
    Error.Kind->Inject (Machine, Options, Error.Number);
    // Nobody may look before the interrupt has brought the error to the BMC.
    if (Bmc && Error.Kind->Notice == ErrorNotice::Interrupt) {
      Machine.Guard (Name + ": no event", [&] { Bmc->WaitForRequest (Machine.EndDescriptor ()); });
    }
    // Here the other errors are seen, and when it is done all processors are at rest.
    Machine.Command ("poll all");
    if (Bmc) {
      Report.Steps.back ().Events = Bmc->TakeEvents ();
    }
    const std::string Lost = LostEventText (Machine.DebugLog ().substr (LogStart));
    if (!Lost.empty ()) {
      // The errors behind it may get through. The first that does not is the fault.
      Report.Fault = Report.Fault.empty () ? fmt::format ("{}: {}", Name, Lost) : Report.Fault;
    } else if (Bmc && Report.Steps.back ().Events.empty ()) {
      throw MachineError (Name + ": the BMC has got no event" + LastLineText (Machine.DebugLog ()));
    }
  }
  Report.State = Machine.State ();
  if (const int Number = Machine.Exit (GOOD_END); Number != GOOD_END) {
    throw MachineError (fmt::format ("the machine ended with {}: {}{}", Number, EndText (Number),
                                     LastLineText (Machine.DebugLog ())));
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
LostEventText (std::string_view Log)
{
  constexpr std::string_view STATUS = "REDFISH_COMMAND Status :", CODE = "CommandCompletionCode:0x";
  for (std::size_t Place = 0; (Place = Log.find (STATUS, Place)) != std::string_view::npos;) {
    Place += STATUS.size ();
    const std::string Status (Log.substr (Place, Log.find (',', Place) - Place));
    if (Status != "Success") {
      return "the event has not got through to the BMC: " + Status;
    }
    const std::size_t Code = Log.find (CODE, Place);
    UINT8 Answer = CompletionNormal;
    if (Code != std::string_view::npos) {
      const std::string Digits (Log.substr (Code + CODE.size (), 2));
      Answer = static_cast<UINT8> (std::stoul (Digits, nullptr, 16));
    }
    if (Answer != CompletionNormal) {
      return "the BMC has not taken the event: " + CompletionCodeText (Answer);
    }
  }
  return "";
}

std::string
TargetText (const Injection &Error)
{
  return fmt::format ("{}{}", Error.Kind->Target.Prefix, Error.Number);
}
