/// What an error record says, and what the driver makes of it on a platform.
#pragma once

#include <span>

#include "BlameSite.h"
#include "CperDescription.h"

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

  /// The bytes may be any, and must outlive the description.
  [[nodiscard]] CperDescription Describe (std::span<const UINT8> Bytes) const;

private:
  const PlatformDescription &Platform;
  UINTN Processor;
  BlameSite Site;
};
