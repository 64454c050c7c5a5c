/// What an error record says, and what the driver makes of it on a platform.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "CperLayout.h"
#include "PlatformDescription.h"

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

/// Describes records for a driver that runs on one platform.
class RecordDecoder {
public:
  /// Processor is the index of the one that reports. The description stays the caller's.
  RecordDecoder (const PlatformDescription &Platform, UINTN Processor);

  [[nodiscard]] const std::string &
  PlatformName () const
  {
    return Platform.Name;
  }

  [[nodiscard]] UINTN
  ReportingProcessor () const
  {
    return Processor;
  }

  [[nodiscard]] CperDescription Describe (std::span<const UINT8> Bytes) const;

private:
  const PlatformDescription &Platform;
  UINTN Processor;
};
