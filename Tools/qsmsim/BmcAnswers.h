/// How the BMC of a report answers: by a completion code, or not at all.
#pragma once

#include <string>

#include "HostWorld.h"

/// The answer by its name or by its completion code. Throws InputError.
BmcAnswer BmcAnswerOption (const std::string &Option, const std::string &Text);

/// The names of the answers that are no completion code, for a help.
std::string TransportFailureNames ();

/// The name of a status that a transport returns, or its number.
std::string TransportFailureText (EFI_STATUS Status);
