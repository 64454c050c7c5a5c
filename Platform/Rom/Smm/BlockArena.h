/// Memory for one pool: a range of addresses out of which blocks are given.
#pragma once

#include "Base.h"
#include "ProcessorLock.h"

/// The range is a row of stretches without gaps, each with a head and, when it is a block, a guard
/// behind it.
struct BlockArena {
  UINT8 *Start;
  UINTN Size;
  UINTN Cursor; ///< Offset of the stretch where the search for room goes on.
  ProcessorLock Lock;
};

extern "C" {

/// Makes Size bytes at Start, both multiples of 16, one free stretch.
VOID ArenaReset (BlockArena *Arena, UINT8 *Start, UINTN Size);

/// Gives a block, aligned to 8 bytes and not to 16, which is all that a pool promises. Null when
/// there is no room.
VOID *ArenaTake (BlockArena *Arena, UINTN Size);

/// Takes a block back that ArenaTake gave for the same size. One that was written outside its
/// bytes is a fault.
VOID ArenaReturn (BlockArena *Arena, VOID *Block, UINTN Size);
}
