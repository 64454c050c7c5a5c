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
  Channel.WriteLine (nlohmann::json{{"execute", Command}, {"arguments", Arguments}}.dump ());
  for (;;) {
    nlohmann::json Answer = ReadObject (Channel);
    if (Answer.contains ("return")) {
      return Answer["return"];
    }
    if (!Answer.contains ("event")) {
      throw MachineError (fmt::format ("QMP: {}: {}", Command, Answer.dump ()));
    }
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
