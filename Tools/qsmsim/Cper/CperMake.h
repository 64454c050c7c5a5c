/// Writing error records from fields.
#pragma once

#include <string>
#include <vector>

#include "CperDescription.h"

inline constexpr UINT16 CPER_REVISION_MIN = 0x0100;
inline constexpr UINT16 CPER_REVISION_MAX = CPER_REVISION;

/// What a record says beside the body of its section.
struct CperEnvelope {
  UINT32 Severity = CperSeverityCorrected; ///< Of the record and of its section.
  UINT16 Revision = CPER_REVISION_MAX;
  UINT64 RecordId = 1;
  EFI_GUID Notification = {};
  std::string FruText; ///< At most as many characters as the descriptor has room for.
};

/// A well-formed record of one primary section. Each of the fields is written and declared valid;
/// all others are zeros.
std::vector<UINT8> MakeCper (const CperSection &Section,
                             const CperEnvelope &Envelope,
                             const std::vector<CperDescription::FieldValue> &Fields);
