#include "Qsmbmc.h"

#include <optional>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "Server.h"
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

struct BmcArguments {
  std::string Address;
  std::string Mode = "normal", CompletionCode = "0xC0", Garbage = "checksum";
  std::string LogFile;
  bool Json = false;
};

/// What the mode of the command line needs behind its name.
std::string
ModeArgument (const BmcArguments &Arguments)
{
  if (Arguments.Mode == "refuse") {
    return " " + Arguments.CompletionCode;
  }
  return Arguments.Mode == "garbage" ? " " + Arguments.Garbage : "";
}

void
Serve (const BmcArguments &Arguments, Console &Console)
{
  const BmcMode Mode = ParseBmcMode (Arguments.Mode + ModeArgument (Arguments));
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
  App.add_option ("--mode", Parsed.Mode, MODE_HELP)->type_name ("MODE")->capture_default_str ();
  App.add_option ("--completion-code", Parsed.CompletionCode, "Of the mode refuse")
      ->type_name ("CODE")
      ->capture_default_str ();
  App.add_option ("--garbage", Parsed.Garbage,
                  "Of the mode garbage: checksum, short, foreign, long or noise")
      ->type_name ("KIND")
      ->capture_default_str ();
  App.add_flag ("--json", Parsed.Json, "Print JSON, one object a line");
  App.callback ([&] { Serve (Parsed, Console); });
  return RunTool (App, ArgumentCount, Arguments, Console, EXIT_DONE);
}
