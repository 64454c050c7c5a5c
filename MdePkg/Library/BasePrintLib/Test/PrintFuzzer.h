/// Random formats and arguments: the print engine against its model.
#pragma once

#include <string>

#include "Base.h"

/// Runs the first Count cases of a Seed, always the same ones. Returns what is wrong with the
/// first that fails, or "".
std::string FuzzPrint (UINT64 Seed, UINT64 Count);
