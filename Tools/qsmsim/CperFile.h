/// Error records in files: reading, checking and describing them.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "CperLayout.h"

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

/// What a record says, bytes beyond its end read as zeros.
struct CperDescription {
  /// One field that is declared valid, or by which the driver finds the device.
  struct FieldValue {
    const CperField *Field;
    UINT64 Value;
  };

  UINT32 Severity;
  EFI_GUID SectionType;
  const CperSection *Section; ///< Null for a type that the driver does not know.
  std::vector<FieldValue> Fields;
  std::string FruText;            ///< Empty unless it is declared valid.
  std::vector<std::string> Notes; ///< Where the driver reads something else than the record says.
};

CperDescription DescribeCper (const std::vector<UINT8> &Bytes);
