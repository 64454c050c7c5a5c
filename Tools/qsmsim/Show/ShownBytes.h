/// Addresses and the first bytes of memory, as all views of a boot write them.
#pragma once

#include <span>
#include <string>

#include "Base.h"

/// "0x7F00DEADB000".
std::string AddressText (UINT64 Address);

/// The first bytes of a buffer or a block, as many as a list has room for.
std::string StartText (std::span<const UINT8> Bytes);

/// The same, with " ..." if there are more.
std::string CutText (std::span<const UINT8> Bytes);
