/// The pools: every block that is allocated and not yet freed is known.
#pragma once

#include "FirmwareWorld.h"
#include "Uefi/SystemTable.h"

inline constexpr UINTN PoolBlockMax = 256;

/// One block. A block that has been freed stays in the table until its place is needed.
struct PoolBlock {
  UINT8 *Address;
  UINTN Size; ///< In bytes, as asked for.
  EFI_MEMORY_TYPE Type;
  BOOLEAN Live;
};

/// One pool. Read-only to tests.
struct Pool {
  PoolBlock Blocks[PoolBlockMax];
  UINTN NextPlace; ///< Where the search for a free place goes on.
  UINTN LiveBlocks;
  UINTN LiveBytes;
  UINTN Allocations; ///< Successful ones since power-on.
};

extern "C" {

/// By PoolKind.
extern Pool gPools[PoolKindCount];

VOID PoolReset ();

/// Allocates Size bytes, filled with a pattern. Fails with EFI_OUT_OF_RESOURCES.
EFI_STATUS PoolAllocate (PoolKind Kind, EFI_MEMORY_TYPE Type, UINTN Size, VOID **Buffer);

/// Frees a block. A block that is not live, or not of this pool, is a fault.
VOID PoolFree (PoolKind Kind, VOID *Buffer);
}
