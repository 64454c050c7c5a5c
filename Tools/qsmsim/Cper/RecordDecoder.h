/// What an error record says, and what the driver makes of it on a platform.
#pragma once

#include <span>

#include "BlameSite.h"
#include "CperDescription.h"
#include "SimulatedPlatform.h"

/// Describes records that are reported to a driver on one platform.
class RecordDecoder {
public:
  /// The description stays the caller's.
  RecordDecoder (const PlatformDescription &Platform, const ReportOptions &Options);

  [[nodiscard]] const std::string &
  PlatformName () const
  {
    return Platform.Name;
  }

  [[nodiscard]] UINTN
  ReportingProcessor () const
  {
    return Options.Processor;
  }

  /// The bytes may be any, and must outlive the description.
  [[nodiscard]] CperDescription Describe (std::span<const UINT8> Bytes) const;

private:
  const PlatformDescription &Platform;
  ReportOptions Options;
  BlameSite Site;
};
