/// The commands with which the host drives the machine once it is up; docs/machine.md has them.
#pragma once

#include "Base.h"

extern "C" {

/// Says that the machine is ready and serves commands until one ends the run.
[[noreturn]] VOID ServeControlChannel ();
}
