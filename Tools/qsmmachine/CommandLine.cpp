#include "Qsmmachine.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "BmcMode.h"
#include "HelpText.h"
#include "HostInterface.h"
#include "InputFile.h"
#include "MachineRun.h"
#include "ProductFile.h"
#include "Record/PlatformLimits.h"
#include "ToolOptions.h"
#include "ToolRun.h"

namespace {

constexpr const char *Description =
    "Runs the driver's image in the System Management Mode of an emulated server, injects hardware "
    "errors and prints what the BMC gets, both logs and the closing state.";

/// The modules of the firmware volume by their titles.
constexpr const char *DRIVER_TITLE = "VelmoraQsmErrorHandler";
constexpr const char *INVENTORY_TITLE = "SystemInventory";

/// The errors unless others are given, or a module is withheld.
const std::vector<std::string> UsualErrors = {"pcie-uncorrected", "pcie-corrected",
                                              "memory-corrected", "processor-corrected"};

constexpr UINTN FILE_SIZE_MAX = 16 << 20;
constexpr UINTN INVENTORY_SIZE_MAX = 8191;

/// Someone who works with a debugger is waited for longer than any machine.
constexpr std::chrono::hours DEBUGGER_PATIENCE (24);

struct RunArguments {
  std::string Rom = ProductFile (QSM_ROM), Driver = ProductFile (QSM_DRIVER);
  std::string Bmc = ProductTool (QSM_BMC);
  std::string Processors = "4,sockets=2";
  std::string DriverCount = "1";
  std::vector<std::string> Errors;
  std::vector<std::string> Withheld;
  std::string BmcPort, GdbPort;
  std::string BmcMode = "normal";
  std::string InventoryFile;
  std::string LogLevels = "0xFFFFFFFF";
  bool Quiet = false;
  bool Json = false;
  bool Keep = false;
};

/// "N" or "N,sockets=M".
void
ReadProcessors (const std::string &Text, MachineOptions &Options)
{
  constexpr std::string_view SOCKETS = ",sockets=";
  const std::size_t Place = std::min (Text.find (SOCKETS), Text.size ());
  Options.ProcessorCount = NumberOption ("--smp", Text.substr (0, Place), 1, ProcessorMax);
  Options.SocketCount = 1;
  if (Place != Text.size ()) {
    const std::string Sockets = Text.substr (Place + SOCKETS.size ());
    Options.SocketCount =
        NumberOption ("--smp sockets", Sockets, 1, std::min (Options.ProcessorCount, SOCKET_MAX));
    if (Options.ProcessorCount % Options.SocketCount != 0) {
      RefuseOption ("--smp sockets", "a divisor of the number of processors", Sockets);
    }
    // A package of one logical processor tells no topology, and all such look like the first.
    if (Options.SocketCount > 1 && Options.ProcessorCount == Options.SocketCount) {
      RefuseOption ("--smp sockets", "two processors in each of several sockets", Sockets);
    }
  }
}

/// "MODE" or "MODE=ARGUMENT".
std::string
ReadBmcMode (std::string Text)
{
  std::ranges::replace (Text, '=', ' ');
  return BmcModeText (ParseBmcMode (Text, "--bmc-mode"));
}

/// "KIND" or "KIND@TARGET".
Injection
ReadError (const std::string &Text, const MachineOptions &Options)
{
  const std::size_t Place = std::min (Text.find ('@'), Text.size ());
  const auto Kinds = ErrorKinds ();
  const auto Kind = std::ranges::find (Kinds, Text.substr (0, Place), &ErrorKind::Name);
  if (Kind == Kinds.end ()) {
    RefuseOption ("--inject", "one of the kinds that --help lists", Text.substr (0, Place));
  }
  const auto &[Name, Prefix, First, Count] = Kind->Target;
  if (Place == Text.size ()) {
    return {&*Kind, First};
  }
  const std::string Target = Text.substr (Place + 1);
  const auto Number =
      ParseNumber (Target.starts_with (Prefix) ? Target.substr (std::strlen (Prefix)) : "");
  const UINTN Last = First + Count (Options) - 1;
  if (!Number || *Number < First || *Number > Last) {
    RefuseOption ("--inject " + Text.substr (0, Place),
                  fmt::format ("a target from {0}{1} to {0}{2}", Prefix, First, Last), Target);
  }
  return {&*Kind, *Number};
}

bool
Withholds (const RunArguments &Arguments, const char *Title)
{
  return std::ranges::find (Arguments.Withheld, Title) != Arguments.Withheld.end ();
}

RunPlan
ReadPlan (const RunArguments &Arguments)
{
  RunPlan Plan = {.Machine = {.Rom = Arguments.Rom},
                  .BmcProgram = Arguments.Bmc,
                  .Injections = {},
                  .IsKept = Arguments.Keep};
  MachineOptions &Machine = Plan.Machine;
  ReadInputFile (Arguments.Rom, FILE_SIZE_MAX);
  for (const auto &[Title, File] : {std::pair{DRIVER_TITLE, Arguments.Driver},
                                    std::pair{INVENTORY_TITLE, ProductFile (QSM_INVENTORY)}}) {
    if (!Withholds (Arguments, Title)) {
      Machine.Modules.emplace_back (File);
    }
  }
  (void)MachineVolume (Machine);
  ReadProcessors (Arguments.Processors, Machine);
  Machine.DriverCount = NumberOption ("--drivers", Arguments.DriverCount, 1, DriverMax);
  if (Machine.DriverCount > 1 && Withholds (Arguments, DRIVER_TITLE)) {
    RefuseOption ("--drivers", fmt::format ("1 with --withhold {}", DRIVER_TITLE),
                  Arguments.DriverCount);
  }
  Machine.Inventory = Arguments.InventoryFile.empty ()
                          ? MachineInventory (Machine)
                          : ReadInputFile (Arguments.InventoryFile, INVENTORY_SIZE_MAX);
  Machine.LogLevels = static_cast<UINT32> (
      NumberOption ("--log-levels", Arguments.LogLevels, 0, std::numeric_limits<UINT32>::max ()));
  Machine.IsQuiet = Arguments.Quiet;
  Plan.BmcMode = ReadBmcMode (Arguments.BmcMode);
  if (!Arguments.BmcPort.empty ()) {
    Machine.BmcPort = NumberOption ("--bmc-port", Arguments.BmcPort, 1, 0xFFFF);
  }
  if (!Arguments.GdbPort.empty ()) {
    const UINT64 Port = NumberOption ("--gdb", Arguments.GdbPort, 1, 0xFFFF);
    Machine.GdbServer = fmt::format ("tcp:127.0.0.1:{}", Port);
    Machine.IsStopped = true;
    Machine.Patience = DEBUGGER_PATIENCE;
  }
  const bool IsUsual = Arguments.Errors.empty () && Arguments.Withheld.empty ();
  for (const std::string &Error : IsUsual ? UsualErrors : Arguments.Errors) {
    Plan.Injections.push_back (ReadError (Error, Machine));
  }
  return Plan;
}

int
Run (const RunArguments &Arguments, Console &Console)
{
  RunPlan Plan = ReadPlan (Arguments);
  Plan.Tell = [&] (const std::string &Text) { Console.Err << Text << std::flush; };
  const RunReport Report = RunMachine (Plan);
  Arguments.Json ? PrintReportJson (Report, Console) : PrintReport (Report, Console);
  return Report.Fault.empty () ? EXIT_DONE : EXIT_FAULT;
}

std::string
KindsText ()
{
  std::string Text = "Kinds of errors:\n";
  for (const ErrorKind &Kind : ErrorKinds ()) {
    const auto &[Name, Prefix, First, Count] = Kind.Target;
    Text += HelpEntry (fmt::format ("{}@{}", Kind.Name, Name),
                       fmt::format ("{}; {}{} unless given", Kind.Help, Prefix, First));
  }
  return Text;
}

} // namespace

int
QsmmachineMain (int ArgumentCount, const char *const *Arguments, Console &Console)
{
  CLI::App App (Description, "qsmmachine");
  int ExitCode = EXIT_DONE;
  RunArguments Parsed;
  const auto Add = [&] (const char *Name, std::string &Value, const char *Help, const char *Type) {
    return App.add_option (Name, Value, Help)->type_name (Type);
  };
  Add ("--smp", Parsed.Processors, "Processors, 1 to 16, in 1 to 4 sockets; in one unless given",
       "N[,sockets=M]")
      ->capture_default_str ();
  Add ("--drivers", Parsed.DriverCount, "How often the boot loads the driver", "N")
      ->capture_default_str ();
  App.add_option ("--inject", Parsed.Errors,
                  "Error to inject; may be given several times. One of each class unless given")
      ->type_name ("KIND[@TARGET]")
      ->allow_extra_args (false);
  Add ("--inventory", Parsed.InventoryFile,
       "The machine's inventory, as docs/machine.md has it; all that errors can be injected into "
       "unless given",
       "FILE");
  Add ("--log-levels", Parsed.LogLevels, "Mask of the driver's RAS log", "MASK")
      ->capture_default_str ();
  Add ("--gdb", Parsed.GdbPort, "Stop ahead of the first instruction until gdb comes", "PORT");
  App.add_flag ("--json", Parsed.Json, "Print one JSON document");
  App.add_flag ("--keep", Parsed.Keep,
                "Leave the directory of the run in place, with QEMU's command line");
  Add ("--rom", Parsed.Rom, "The machine's firmware", "FILE");
  Add ("--driver", Parsed.Driver, "The driver's firmware file", "FILE");
  App.add_option ("--withhold", Parsed.Withheld,
                  "Leave a module out of the firmware volume; then no error is injected unless "
                  "given. May be given several times")
      ->type_name ("NAME")
      ->allow_extra_args (false)
      ->check (CLI::IsMember ({DRIVER_TITLE, INVENTORY_TITLE}));
  Add ("--bmc", Parsed.Bmc, "The BMC's program", "FILE");
  Add ("--bmc-port", Parsed.BmcPort, "Start no BMC: one listens at this port of 127.0.0.1", "PORT")
      ->excludes ("--bmc");
  Add ("--bmc-mode", Parsed.BmcMode,
       "How the BMC answers, as qsmbmc has it: normal, mute, late, refuse=CODE or garbage=KIND",
       "MODE")
      ->capture_default_str ()
      ->excludes ("--bmc-port");
  // The driver's messages alone tell whether such a BMC has taken the event.
  App.add_flag ("--quiet", Parsed.Quiet, "Leave the driver's messages out of the debug log")
      ->excludes ("--bmc-port")
      ->excludes ("--bmc-mode");
  App.footer (KindsText ());
  App.callback ([&] { ExitCode = Run (Parsed, Console); });
  return RunTool (App, ArgumentCount, Arguments, Console, ExitCode);
}
