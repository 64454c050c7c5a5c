/// An error record as it was handed in.
#pragma once

#include <string>
#include <vector>

#include "CperDescription.h"

/// A record's bytes, and where they are from.
struct CperFile {
  std::string Name; ///< Of the file, and the place in it unless the file is this record alone.
  std::vector<UINT8> Bytes;
  std::string Form; ///< What else the file was recognised as; empty for the plain bytes of records.
  std::vector<CperNote> Notes = {}; ///< Of what its form leaves open.
  bool IsFirst = true;              ///< Of its file.
};

/// Throws InputError with one line that names the record, the offset in it and what was expected
/// there, when it is no record, or cut within its header or the first section's descriptor.
void ExpectCper (const CperFile &File);
