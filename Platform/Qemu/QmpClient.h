/// QEMU's control protocol (QMP), as far as the machine needs it.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "LineChannel.h"

class QmpClient {
public:
  QmpClient () = default;

  /// Greets the QEMU at the other end. Throws MachineError, as all of its functions do.
  explicit QmpClient (LineChannel Connection);

  /// Runs a command and returns what it returns.
  nlohmann::json Execute (const std::string &Command,
                          const nlohmann::json &Arguments = nlohmann::json::object ());

  /// Runs a command of the human monitor and returns what that prints.
  std::string ExecuteHuman (const std::string &Line);

private:
  LineChannel Channel;
  int Number = 0; ///< Of the last command.
};
