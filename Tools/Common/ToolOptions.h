/// Values of command-line options that several tools read.
#pragma once

#include <string>
#include <string_view>

#include "Base.h"

/// Throws the InputError that names the option, what was expected, and what was found.
[[noreturn]] void
RefuseOption (const std::string &Option, std::string_view Expected, const std::string &Found);

/// The number, or an InputError if it is none from Minimum to Maximum.
UINT64
NumberOption (const std::string &Option, const std::string &Text, UINT64 Minimum, UINT64 Maximum);
