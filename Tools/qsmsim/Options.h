/// Values of command-line options. Each reader refuses what does not fit by an InputError that
/// names the option and what was expected.
#pragma once

#include <string>
#include <utility>

#include "CperLayout.h"
#include "PlatformDescription.h"
#include "ToolOptions.h"

/// The severity by its name, or any 32-bit number.
UINT32 SeverityOption (const std::string &Option, const std::string &Text);

EFI_GUID GuidOption (const std::string &Option, const std::string &Text);

/// A text of at most LengthMax printable ASCII characters.
std::string TextOption (const std::string &Option, const std::string &Text, UINTN LengthMax);

/// An assignment to a byte of the CMOS RAM, "OFFSET=VALUE": offset and value.
std::pair<UINT8, UINT8> CmosOption (const std::string &Option, const std::string &Text);

/// The platform that the file describes, or the built-in one if no file is given.
PlatformDescription PlatformOption (const std::string &File);
