/// Records as bytes, one behind the other or among other bytes.
#pragma once

#include <string_view>

#include "RecordReader.h"

/// Offset of the first signature of a record in Bytes, from Start on; npos if there is none.
std::size_t FindSignature (std::string_view Bytes, std::size_t Start = 0);

/// Whether a record begins at the first byte, though its signature may be unended.
bool BeginsLikeRecord (std::string_view Bytes);

/// RecordLength of the record that Bytes begin with; RECORD_SIZE_MAX if they do not have it.
std::size_t RecordLengthOf (std::string_view Bytes);

/// A record ends where its RecordLength says, unless its first section does not end before, or that
/// cannot be: then where the next record begins, or at the end. Zeros, ones and line ends between
/// records are padding. Other bytes between them are refused if the first byte begins a record, and
/// passed by otherwise.
class RawRecords : public RecordReader {
public:
  explicit RawRecords (ByteWindow &From);
  std::optional<FoundRecord> Next () override;

private:
  ByteWindow &Window;
  bool Scattered; ///< Records lie among other bytes.
  UINTN Count = 0;
  std::string Form;

  std::size_t SkipOther ();
  std::size_t RecordSize ();
};
