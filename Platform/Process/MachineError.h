/// A run of the emulated machine or of its BMC that did not go as it has to.
#pragma once

#include <stdexcept>

struct MachineError : std::runtime_error {
  using std::runtime_error::runtime_error;
};
