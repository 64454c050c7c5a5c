/// Memory for one pool: a range of addresses out of which guarded blocks are given.
#pragma once

#include <map>
#include <memory>
#include <mutex>

#include "Base.h"

/// Between any two blocks lies a red zone, and freed blocks stay unusable for as long as there is
/// other room. Under AddressSanitizer any access outside a live block ends the process.
class BlockArena {
public:
  explicit BlockArena (UINTN Size);
  ~BlockArena ();

  /// Null when there is no room.
  void *Take (UINTN Size);
  void Return (void *Block, UINTN Size);

  /// The range in which all blocks lie.
  const UINT8 *Begin () const;
  UINTN Size () const;

private:
  std::mutex Lock;
  UINTN Bytes;
  std::unique_ptr<UINT8[]> Memory;
  std::map<UINTN, UINTN> Free; ///< Offset and size of each free stretch.
  UINTN Cursor = 0;            ///< Where the search for room goes on.
};
