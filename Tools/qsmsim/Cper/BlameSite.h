/// Which device of a platform gets the blame, and why that may be wrong.
#pragma once

#include "CperDescription.h"
#include "PlatformDescription.h"

/// A platform, and the processor of it that reports.
class BlameSite {
public:
  /// Reporter is the index of the processor. The description stays the caller's.
  BlameSite (const PlatformDescription &Platform, UINTN Reporter);

  /// Adds the notes on a record of a class that the driver knows.
  void NoteBlame (CperDescription &Description) const;

private:
  [[nodiscard]] bool HasSegment (UINT64 Segment) const;
  void NoteSegment (CperDescription &Description) const;
  void NoteSocket (CperDescription &Description) const;
  void NoteReporter (CperDescription &Description) const;
  void NoteDevices (CperDescription &Description) const;

  const PlatformDescription &Platform;
  UINTN Processor;
  UINT32 ApicBits; ///< Of an APIC id, those below the package.
  UINT32 ReportingSocket;
  UINT32 SocketCount; ///< Up to the last one with a processor.
};
