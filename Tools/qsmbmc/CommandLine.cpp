#include "Qsmbmc.h"

#include <optional>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "BmcMode.h"
#include "Server.h"
#include "ToolOptions.h"
#include "ToolRun.h"

namespace {

constexpr const char *Description =
    "A BMC in a process: takes the events of VelmoraQsmErrorHandler from an emulated machine "
    "(QEMU's ipmi-bmc-extern) and prints and keeps them. Standard input takes lines: \"mode "
    "NAME\", "
    "\"mode refuse CODE\", \"mode garbage KIND\", and \"answer\", which sends the answer that the "
    "mode late holds back.";

constexpr const char *MODE_HELP =
    "How it answers: normal; mute, not at all; late, when it is told to; refuse, by a completion "
    "code; garbage, by no answer to the request";

constexpr const char *CODE_DEFAULT = "0xC0", *GARBAGE_DEFAULT = "checksum";

struct BmcArguments {
  std::string Address;
  std::string Mode = "normal";
  std::optional<std::string> CompletionCode, Garbage;
  std::string LogFile;
  bool Json = false;
};

/// Refuses an option of another mode.
void
CheckModeOf (const char *Option, bool IsGiven, const char *Mode, const BmcArguments &Arguments)
{
  if (IsGiven && Arguments.Mode != Mode) {
    RefuseOption (Option, fmt::format ("--mode {} with it", Mode), Arguments.Mode);
  }
}

BmcMode
ReadMode (const BmcArguments &Arguments)
{
  CheckModeOf ("--completion-code", Arguments.CompletionCode.has_value (), "refuse", Arguments);
  CheckModeOf ("--garbage", Arguments.Garbage.has_value (), "garbage", Arguments);
  std::string Text = Arguments.Mode;
  if (Text == "refuse") {
    const std::string Code = Arguments.CompletionCode.value_or (CODE_DEFAULT);
    Text += fmt::format (" {}", NumberOption ("--completion-code", Code, 1, 0xFF));
  } else if (Text == "garbage") {
    Text += " " + Arguments.Garbage.value_or (GARBAGE_DEFAULT);
  }
  return ParseBmcMode (Text, "--mode");
}

void
Serve (const BmcArguments &Arguments, Console &Console)
{
  const BmcMode Mode = ReadMode (Arguments);
  const FileDescriptor Signals = CatchEndSignals ();
  std::optional<EventLog> Log;
  if (!Arguments.LogFile.empty ()) {
    Log.emplace (Arguments.LogFile);
    if (Log->CutSize () != 0) {
      Complain (Console, "qsmbmc",
                fmt::format ("{}: cut off {} bytes of a torn last line", Arguments.LogFile,
                             Log->CutSize ()));
    }
  }
  Listener Listening (Arguments.Address);
  Server (Listening, Log ? &*Log : nullptr, Mode, Arguments.Json, Console).Run (Signals);
}

} // namespace

int
QsmbmcMain (int ArgumentCount, const char *const *Arguments, Console &Console)
{
  CLI::App App (Description, "qsmbmc");
  BmcArguments Parsed;
  App.add_option ("--listen", Parsed.Address,
                  "Where the machine connects to: unix:PATH or 127.0.0.1:PORT, 0 for a free port")
      ->type_name ("ADDRESS")
      ->required ();
  App.add_option ("--log", Parsed.LogFile,
                  "File that keeps the events, one line of JSON each; it is gone on with")
      ->type_name ("FILE");
  App.add_option ("--mode", Parsed.Mode, MODE_HELP)
      ->type_name (fmt::format ("MODE:{{{}}}", fmt::join (BmcModeNames (), ",")))
      ->capture_default_str ();
  App.add_option ("--completion-code", Parsed.CompletionCode,
                  fmt::format ("Of the mode refuse, {} unless given", CODE_DEFAULT))
      ->type_name ("CODE")
      ->needs ("--mode");
  App.add_option ("--garbage", Parsed.Garbage,
                  fmt::format ("Of the mode garbage, {} unless given", GARBAGE_DEFAULT))
      ->type_name (fmt::format ("KIND:{{{}}}", fmt::join (GarbageNames (), ",")))
      ->needs ("--mode");
  App.add_flag ("--json", Parsed.Json, "Print JSON, one object a line");
  App.callback ([&] { Serve (Parsed, Console); });
  return RunTool (App, ArgumentCount, Arguments, Console, EXIT_DONE);
}
