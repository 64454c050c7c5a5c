/// Which device of a platform gets the blame, and why that may be wrong.
#pragma once

#include "CperDescription.h"
#include "PlatformDescription.h"
#include "Record/IioTopologyStore.h"

/// A platform, and the processor of it that reports.
class BlameSite {
public:
  /// Reporter is the index of the processor. The description stays the caller's.
  BlameSite (const PlatformDescription &Platform, UINTN Reporter);

  /// Adds the notes on a record of a class that the driver knows, while its boot is up.
  void NoteBlame (CperDescription &Description) const;

private:
  /// None if there is no such socket.
  [[nodiscard]] std::optional<UINT64> SegmentOfSocket (UINTN Number) const;

  /// Why a device on the bus may not be of the segment, to be put behind that; none if it is.
  [[nodiscard]] std::optional<std::string> SegmentDoubt (UINT64 Segment, UINT8 Bus) const;

  void NoteSegment (CperDescription &Description) const;
  void NoteSocket (CperDescription &Description) const;
  void NoteReporter (CperDescription &Description) const;
  void NoteDevices (CperDescription &Description) const;

  const PlatformDescription &Platform;
  UINTN Processor;
  UINT32 ApicBits; ///< Of an APIC id, those below the package.
  UINT32 ReportingSocket;
  UINT32 SocketCount;                               ///< Up to the last one with a processor.
  mutable std::optional<IioTopologyStore> Topology; ///< Of the boot, once it was needed.
};
