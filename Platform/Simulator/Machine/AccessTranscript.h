/// What drivers did to the devices of a machine, one line an access.
#pragma once

#include <string>
#include <vector>

#include "Base.h"

/// Lines such as "io out 3FB 80": operation, address, and the value in full width, in hexadecimal.
/// Devices that share one transcript keep the order of their accesses.
using AccessTranscript = std::vector<std::string>;

/// Appends the access of Width bytes to Transcript, unless that is null.
void RecordAccess (
    AccessTranscript *Transcript, const char *Operation, UINTN Address, UINTN Width, UINT32 Value);
