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
  UINTN NextPlace; ///< Where the search for a free place in the table goes on.
  UINTN Cursor;    ///< Offset in the pool's memory where the search for room goes on.
  UINTN LiveBlocks;
  UINTN LiveBytes;
  UINTN Allocations; ///< Successful ones since power-on.
};

extern "C" {

/// By PoolKind.
extern Pool gPools[PoolKindCount];

VOID PoolReset ();

/// The service of each pool: allocates Size bytes, which are filled with a pattern. Blocks are
/// aligned to 8 bytes and never to 16, which is all that a pool promises, and a freed one stays
/// unused for as long as there is other room. SMM pool is of the types EfiRuntimeServicesCode and
/// EfiRuntimeServicesData only (PI 1.8, volume 4, 3.4). Fails with EFI_INVALID_PARAMETER, and with
/// EFI_OUT_OF_RESOURCES.
EFI_STATUS PoolAllocate (PoolKind Kind, EFI_MEMORY_TYPE Type, UINTN Size, VOID **Buffer);

/// The service of each pool: frees a block. A block that is not live or not of this pool, and one
/// that was written outside its bytes, is a fault.
EFI_STATUS PoolFree (PoolKind Kind, VOID *Buffer);
}
