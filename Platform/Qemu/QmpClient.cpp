#include "QmpClient.h"

#include <fmt/format.h>

#include "MachineError.h"

namespace {

nlohmann::json
ReadObject (LineChannel &Channel)
{
  const std::string Line = Channel.ReadLine ();
  auto Object = nlohmann::json::parse (Line, nullptr, false);
  if (!Object.is_object ()) {
    throw MachineError (fmt::format ("QMP: expected an object, found {}", Line));
  }
  return Object;
}

} // namespace

QmpClient::QmpClient (LineChannel Connection) : Channel (std::move (Connection))
{
  const nlohmann::json Greeting = ReadObject (Channel);
  if (!Greeting.contains ("QMP")) {
    throw MachineError (fmt::format ("QMP: expected a greeting, found {}", Greeting.dump ()));
  }
  Execute ("qmp_capabilities");
}

nlohmann::json
QmpClient::Execute (const std::string &Command, const nlohmann::json &Arguments)
{
  // The answer to an earlier command, of which we got tired, may come first.
  ++Number;
  Channel.WriteLine (
      nlohmann::json{{"execute", Command}, {"arguments", Arguments}, {"id", Number}}.dump ());
  for (;;) {
    nlohmann::json Answer = ReadObject (Channel);
    if (Answer.value ("id", 0) != Number) {
      continue; // An event has none.
    }
    if (!Answer.contains ("return")) {
      throw MachineError (fmt::format ("QMP: {}: {}", Command, Answer.dump ()));
    }
    return Answer["return"];
  }
}

std::string
QmpClient::ExecuteHuman (const std::string &Line)
{
  const nlohmann::json Answer = Execute ("human-monitor-command", {{"command-line", Line}});
  if (!Answer.is_string ()) {
    throw MachineError (fmt::format ("QMP: expected a text, found {}", Answer.dump ()));
  }
  return Answer.get<std::string> ();
}
