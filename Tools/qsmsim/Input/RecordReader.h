/// What each form of input yields.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ByteWindow.h"
#include "CperDescription.h"
#include "InputFile.h"

/// A record, where it was found in its file, and how.
struct FoundRecord {
  std::vector<UINT8> Bytes;
  std::string Place; ///< "record 3 at offset 0x1234"; empty when the file is this record alone.
  std::string Form;  ///< "hex text"; empty for the plain bytes of records.
  std::vector<CperNote> Notes = {}; ///< Of what had to be assumed.
};

/// A complaint of a file that may be of another kind, beside records in a directory.
class OtherInputError : public InputError {
  using InputError::InputError;
};

/// Reads one form of input. It does not own the bytes that it reads.
class RecordReader {
public:
  virtual ~RecordReader () = default;

  /// The next record, or none at the end. Throws InputError for what should be one and is not: the
  /// text names the offset and what was expected there. The next call goes on behind it.
  virtual std::optional<FoundRecord> Next () = 0;
};

/// The largest record that a status code can carry, in bytes: its size has 16 bits.
inline constexpr std::size_t RECORD_SIZE_MAX = 0xFFFF;

/// As much of a file is looked at to tell its form.
inline constexpr std::size_t RECOGNISED_SIZE = 64 * 1024;
