/// Random formats and arguments: the print engine against its model and against the C library.
#pragma once

#include <string>

#include "Base.h"

/// Runs Count random cases, the same for the same Seed. Output goes to memory between inaccessible
/// pages. Returns what is wrong with the first case that fails, or "".
std::string FuzzPrint (UINT64 Seed, UINT64 Count);
