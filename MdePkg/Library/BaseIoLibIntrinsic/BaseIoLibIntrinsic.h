/// Memory-mapped register access with a check of the alignment that the width needs.
#pragma once

#include "Base.h"

/// What a read gives where nothing answers.
template <typename Word> inline constexpr Word AllOnes = static_cast<Word> (~Word{0});

extern "C" {

/// Each is exactly one access of its width, without fence or retry, and is made even where the
/// assertion that Address is a multiple of the width passes over one that is not. The writes
/// return Value. A register of one byte needs no check, and has MmioLoad8.
UINT16 EFIAPI MmioRead16 (UINTN Address);
UINT16 EFIAPI MmioWrite16 (UINTN Address, UINT16 Value);
UINT32 EFIAPI MmioRead32 (UINTN Address);
UINT32 EFIAPI MmioWrite32 (UINTN Address, UINT32 Value);
}
