/// Records made of a section that came without one.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "Record/ErrorRecord.h"

/// What is known of a section beside its body.
struct LooseSection {
  EFI_GUID Type = {};
  UINT32 Severity = CperSeverityCorrected;
  UINT8 ValidationBits = 0; ///< Of FruId and FruText, as in a section descriptor.
  UINT32 Flags = 0;
  EFI_GUID FruId = {};
  CHAR8 FruText[20] = {};

  // What the record's header has beside (UEFI 2.10, N.2.1).
  std::optional<UINT64> TimeStamp = {};
  UINT16 Revision = CPER_REVISION;
  UINT64 RecordId = 0;
  EFI_GUID Notification = {};
};

/// A record of this section alone, of its severity, with the body straight behind the descriptor.
std::vector<UINT8> RecordOfSection (const LooseSection &Section, std::string_view Body);
