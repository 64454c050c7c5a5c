/// Memory for one pool: a range of addresses out of which guarded blocks are given.
#pragma once

#include <map>
#include <mutex>

#include "Base.h"

/// Red zones lie around every block, and a freed block stays unusable for as long as there is other
/// room: under AddressSanitizer any access outside a live block ends the process. Blocks are
/// aligned to 8 bytes and never to 16, which is all that a pool promises.
class BlockArena {
public:
  explicit BlockArena (UINTN Bytes);
  ~BlockArena ();
  BlockArena (const BlockArena &) = delete;
  BlockArena &operator= (const BlockArena &) = delete;

  /// Null when there is no room.
  void *Take (UINTN Bytes);

  /// Takes back a block that Take gave for the same number of bytes.
  void Return (void *Block, UINTN Bytes);

  /// Makes every block given so far read-only for good: whoever writes to one ends the process. A
  /// sealed block may be returned, but its memory is not given out again.
  void Seal ();

  /// The range in which all blocks lie.
  [[nodiscard]] const UINT8 *Begin () const;
  [[nodiscard]] UINTN Size () const;

private:
  using Stretches = std::map<UINTN, UINTN>;

  std::mutex Lock;
  UINTN TotalSize;
  UINT8 *Memory;        ///< Whole pages.
  Stretches Free;       ///< Offset and size of each free stretch.
  UINTN Cursor = 0;     ///< Where the search for room goes on.
  UINTN SealedSize = 0; ///< Up to where Memory is read-only.

  Stretches::iterator FindRoom (UINTN Needed);
};
