#include "Qsmsim.h"

#include <list>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "BmcAnswers.h"
#include "Commands.h"
#include "Options.h"
#include "ToolRun.h"

namespace {

constexpr const char *Description =
    "What does the BMC get for this error record on that platform? Runs the driver "
    "VelmoraQsmErrorHandler on a simulated platform.";

constexpr const char *PLATFORM_HELP =
    "Description of the platform, as docs/platform.md has it; a two-socket server unless given";

void
AddFieldOptions (CLI::App &App, MakeArguments &Arguments)
{
  const CperSection &Section = Arguments.Section;
  Arguments.Fields.resize (Section.Fields.size ());
  for (UINTN Index = 0; Index < Section.Fields.size (); ++Index) {
    const CperField &Field = Section.Fields[Index];
    App.add_option (fmt::format ("--{}", Field.Name), Arguments.Fields[Index], Field.Help)
        ->type_name ("NUMBER")
        ->required (Field.TellsDevice);
  }
  if (Section.ErrorClass == 0) {
    App.add_option ("--section-type", Arguments.SectionType, "Type of the section")
        ->type_name ("GUID")
        ->required ();
    App.add_option ("--body-size", Arguments.BodySize, "Size in bytes of its body, all zeros")
        ->type_name ("NUMBER")
        ->capture_default_str ();
  }
}

void
AddEnvelopeOptions (CLI::App &App, MakeArguments &Arguments)
{
  App.add_option ("--severity", Arguments.Severity,
                  "Severity of record and section: " + NamesText (CperSeverities ()) +
                      ", or a number")
      ->type_name ("SEVERITY")
      ->capture_default_str ();
  App.add_option ("--notification", Arguments.Notification,
                  "What triggered the record: " + NamesText (CperNotifications ()) +
                      "; the usual one of its kind unless given")
      ->type_name ("NAME");
  App.add_option ("--revision", Arguments.Revision, "Revision of the record, 0x0100 or 0x0101")
      ->type_name ("NUMBER")
      ->capture_default_str ();
  App.add_option ("--record-id", Arguments.RecordId, "Record id")
      ->type_name ("NUMBER")
      ->capture_default_str ();
  App.add_option ("--fru-text", Arguments.FruText, "Name of the replaceable unit, for people")
      ->type_name ("TEXT");
  App.add_option ("-o,--output", Arguments.File, "File to write")->type_name ("FILE")->required ();
}

void
AddPlatformOption (CLI::App &App, BootArguments &Arguments)
{
  App.add_option ("--platform", Arguments.PlatformFile, PLATFORM_HELP)->type_name ("FILE");
}

/// Adds --dot, for commands that print a picture of the platform instead of --json.
CLI::Option *
AddDotFlag (CLI::App &App, bool &Dot)
{
  return App
      .add_flag ("--dot", Dot, "Print a picture of the platform for Graphviz: pipe it to dot -Tsvg")
      ->excludes ("--json");
}

void
AddBootOptions (CLI::App &App, BootArguments &Arguments)
{
  AddPlatformOption (App, Arguments);
  App.add_option ("--cmos", Arguments.Cmos,
                  "Byte of the CMOS RAM at start; may be given several times. The mask of the RAS "
                  "debug log is at 0x4C to 0x4F, the low byte first")
      ->type_name ("OFFSET=VALUE")
      ->allow_extra_args (false);
  App.add_option ("--driver", Arguments.Driver,
                  "Shared object of another build of the driver; this build's unless given")
      ->type_name ("FILE");
  App.add_option ("--drivers", Arguments.DriverCount,
                  "How often the boot loads the driver, 1 to 16")
      ->type_name ("N")
      ->capture_default_str ();
}

void
AddFailureOptions (CLI::App &App, FailureArguments &Arguments)
{
  App.add_option ("--status-code", Arguments.StatusCode,
                  "Report by another status code; 0x40000002:0x03071008 unless given")
      ->type_name ("TYPE:VALUE");
  App.add_option ("--bmc-answer", Arguments.BmcAnswer,
                  "What comes back from the BMC: a completion code by number or by its name, like "
                  "invalid-command; or from its transport: " +
                      TransportFailureNames ())
      ->type_name ("ANSWER");
  App.add_option ("--inventory", Arguments.Inventory,
                  "The inventory as the platform's description has it (described), not-ready, or "
                  "late: not there when the driver is loaded")
      ->type_name ("STATE")
      ->capture_default_str ();
  App.add_flag ("--pool-exhausted", Arguments.PoolExhausted,
                "The SMM pool has nothing left for the error");
}

CLI::App *
AddReport (CLI::App &App, ReportArguments &Arguments)
{
  CLI::App *Report = App.add_subcommand (
      "report", "Report error records to the driver and print what the BMC gets");
  Report
      ->add_option (
          "RECORD", Arguments.Records,
          "Files and directories of error records (CPER), or - for standard input: bytes, hex "
          "text, "
          "base64, a Generic Error Status Block, Redfish JSON, or a text with one of them")
      ->required ();
  AddBootOptions (*Report, Arguments.Boot);
  AddFailureOptions (*Report, Arguments.Failures);
  Report->add_option ("--cpu", Arguments.Processor, "Index of the processor that reports")
      ->type_name ("N")
      ->capture_default_str ();
  CLI::Option *Json = Report->add_flag ("--json", Arguments.Json, "Print one JSON document");
  Report
      ->add_flag ("--json-lines", Arguments.JsonLines,
                  "Print a line of JSON for each record as it comes, and one with the summary")
      ->excludes (Json);
  AddDotFlag (*Report, Arguments.Dot)->excludes ("--json-lines");
  Report->add_flag ("--quiet", Arguments.Quiet, "Leave the driver's log out");
  Report->add_flag ("--raw", Arguments.Raw,
                    "Look at nothing and refuse nothing: hand the bytes over in a page of zeros, "
                    "as a careless reporter would");
  Report->add_flag ("--strict", Arguments.Strict, "End with code 1 if a record gives no event");
  return Report;
}

void
AddDecode (CLI::App &App, DecodeArguments &Arguments, Console &Console)
{
  CLI::App *Decode = App.add_subcommand ("decode", "Print what an event says that the BMC got");
  Decode
      ->add_option ("BYTES", Arguments.Words,
                    "The command's bytes in hexadecimal, with or without NetFn and Cmd in front; a "
                    "line of qsmbmc or of its log; or an OEM record e0, as \"ipmitool sel list\" "
                    "prints it")
      ->required ();
  CLI::Option *Json = Decode->add_flag ("--json", Arguments.Json, "Print JSON");
  Decode->add_flag ("--redfish", Arguments.Redfish, "Print a Redfish LogEntry")->excludes (Json);
  Decode->callback ([&] { RunDecode (Arguments, Console); });
}

/// Adds the command that makes records of one section.
void
AddSection (CLI::App &Make, MakeArguments &Arguments, const std::string &Help)
{
  CLI::App *Section = Make.add_subcommand (Arguments.Section.Name, Help);
  AddFieldOptions (*Section, Arguments);
  AddEnvelopeOptions (*Section, Arguments);
  Section->callback ([&] { RunMake (Arguments); });
}

/// Adds make with its sections. Their arguments are new elements of Arguments.
void
AddMake (CLI::App &App, std::list<MakeArguments> &Arguments)
{
  CLI::App *Make = App.add_subcommand ("make", "Write an error record (CPER) from fields");
  Make->require_subcommand (1);
  for (const CperSection *Section : CperSections ()) {
    Arguments.emplace_back ().Section = *Section;
    AddSection (*Make, Arguments.back (), fmt::format ("A record of a {} error", Section->Name));
  }
  Arguments.emplace_back ().Section.Name = "other";
  AddSection (*Make, Arguments.back (), "A record of a section that the driver does not know");
}

/// Adds what show can show. ExitCode is that of the one that runs.
void
AddShow (CLI::App &App, ShowArguments &Arguments, Console &Console, int &ExitCode)
{
  CLI::App *Show = App.add_subcommand ("show", "Print what a boot of the platform has built");
  Show->require_subcommand (1);
  const auto Add = [&] (const char *Name, const char *Help) {
    CLI::App *Command = Show->add_subcommand (Name, Help);
    Command->add_flag ("--json", Arguments.Json, "Print JSON");
    return Command;
  };
  CLI::App *Inventory = Add ("inventory", "The devices and their Redfish ids");
  AddPlatformOption (*Inventory, Arguments.Boot);
  AddDotFlag (*Inventory, Arguments.Dot);
  Inventory->callback ([&] { RunShowInventory (Arguments, Console); });
  for (const ShowTopic &Topic : ShowTopics ()) {
    CLI::App *Command = Add (Topic.Name, Topic.Help);
    AddBootOptions (*Command, Arguments.Boot);
    if (Topic.HasPicture) {
      AddDotFlag (*Command, Arguments.Dot);
    }
    Command
        ->add_option ("--stage", Arguments.Boot.Stage,
                      "How far the boot goes: loaded, when all drivers are and SmmReadyToLock has "
                      "not been signalled yet, or locked, when it has")
        ->type_name ("STAGE")
        ->capture_default_str ();
    Command->callback ([&, Topic] { ExitCode = RunShow (Topic, Arguments, Console); });
  }
}

} // namespace

int
QsmsimMain (int ArgumentCount, const char *const *Arguments, Console &Console)
{
  CLI::App App (Description, "qsmsim");
  App.require_subcommand (1);
  int ExitCode = EXIT_DONE;
  ReportArguments Report;
  AddReport (App, Report)->callback ([&] { ExitCode = RunReport (Report, Console); });
  DecodeArguments Decode;
  AddDecode (App, Decode, Console);
  std::list<MakeArguments> Make;
  AddMake (App, Make);
  ShowArguments Show;
  AddShow (App, Show, Console, ExitCode);
  return RunTool (App, ArgumentCount, Arguments, Console, ExitCode);
}
