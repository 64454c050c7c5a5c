/// Error records in files: reading and checking them.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Base.h"

/// A record's bytes and the file that they are from.
struct CperFile {
  std::string Name;
  std::vector<UINT8> Bytes;
};

/// Reads a record. Throws InputError with one line that names the file, the offset and what was
/// expected there, when the file cannot be read, when it is larger than what a status code can
/// carry, or when it is no record or lacks bytes that the driver reads.
CperFile ReadCperFile (const std::filesystem::path &File);

/// The same without looking at the bytes; only the size is checked.
CperFile ReadRawFile (const std::filesystem::path &File);
