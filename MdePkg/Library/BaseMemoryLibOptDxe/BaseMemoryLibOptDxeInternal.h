/// The bare workers behind the checks.
#pragma once

#include "Base.h"

extern "C" {

/// Each returns the buffer that it writes. Length is in bytes; only InternalMemSetMem may get 0.
VOID *EFIAPI InternalMemCopyMem (VOID *DestinationBuffer, const VOID *SourceBuffer, UINTN Length);
VOID *EFIAPI InternalMemZeroMem (VOID *Buffer, UINTN Length);
VOID *EFIAPI InternalMemSetMem (VOID *Buffer, UINTN Length, UINT8 Value);

/// Copies BlockCount blocks of 16 bytes, at least one, upward to a 16-byte aligned Destination,
/// past the caches, and waits until all processors can see them.
VOID EFIAPI InternalMemCopyBlocks (VOID *Destination, const VOID *Source, UINTN BlockCount);
}

/// Distance from Address to the last byte of the address space: the longest range that starts at
/// Address has one byte more.
inline UINTN
DistanceToLastByte (const VOID *Address)
{
  return 0xFFFFFFFFFFFFFFFF - reinterpret_cast<UINTN> (Address);
}
