/// Random formats and arguments: the print engine against its model and against the C library.
#pragma once

#include <string>

#include "Base.h"

/// Runs the Count cases from number First on; the same number of the same Seed is always the same
/// case. Output goes to memory between inaccessible pages. *Running, unless it is null, holds the
/// number of the case that runs. Returns what is wrong with the first case that fails, or "".
std::string FuzzPrint (UINT64 Seed, UINT64 First, UINT64 Count, volatile UINT64 *Running = nullptr);
