/// Generic Error Status Blocks, one behind the other.
#pragma once

#include <string_view>

#include "ErrorStatusLayout.h"
#include "RecordReader.h"

/// Whether a block with at least one data entry begins at the first byte that is not zero.
bool BeginsLikeErrorStatusBlock (std::string_view Bytes);

/// Each data entry becomes a record of one section, of the entry's own severity. Zeros between
/// blocks are padding; other bytes are refused.
class ErrorStatusBlocks : public RecordReader {
public:
  explicit ErrorStatusBlocks (ByteWindow &From) : Window (From) {}
  std::optional<FoundRecord> Next () override;

private:
  ByteWindow &Window;
  UINTN Block = 0; ///< Number of the block that is read, from 1.
  UINTN Entry = 0; ///< Number of entries that have been read of it,
  UINTN EntryCount = 0;
  std::size_t DataLeft = 0; ///< and of bytes that it has left for the others.
  bool IsLost = false;      ///< There is something else behind the last block.
  std::size_t RawSize = 0;  ///< Number of bytes from there to the end of the block's raw data.

  void Skip (std::size_t Size);
  bool BeginBlock ();
  FoundRecord TakeEntry ();
};
