/// Error records of the tests: no more of them than the listener reads.
#pragma once

#include <cstring>
#include <vector>

#include "Record/ErrorRecord.h"

/// The bytes of a record, cut behind the last field that the listener reads of this section type.
inline std::vector<UINT8>
RecordBytes (const ErrorRecord &Record, UINTN Size)
{
  std::vector<UINT8> Bytes (Size);
  std::memcpy (Bytes.data (), &Record, Size);
  return Bytes;
}

/// A record of noise but for its severity and section type: whatever else is read shows.
inline ErrorRecord
NoiseRecord (UINT32 Severity, const EFI_GUID &SectionType)
{
  ErrorRecord Record;
  std::memset (&Record, 0xA5, sizeof (Record));
  Record.Header.ErrorSeverity = Severity;
  Record.Section.SectionType = SectionType;
  return Record;
}

inline std::vector<UINT8>
MemoryRecord (UINT32 Severity, UINT16 Node, UINT16 Card, UINT16 ModuleRank)
{
  ErrorRecord Record = NoiseRecord (Severity, gEfiPlatformMemoryErrorSectionGuid);
  Record.Memory.Node = Node;
  Record.Memory.Card = Card;
  Record.Memory.ModuleRank = ModuleRank;
  return RecordBytes (Record, offsetof (ErrorRecord, Memory.ModuleRank) + 2);
}

inline std::vector<UINT8>
PcieRecord (UINT32 Severity, UINT8 Bus, UINT8 Device, UINT8 Function)
{
  ErrorRecord Record = NoiseRecord (Severity, gEfiPcieErrorSectionGuid);
  Record.Pcie.DevBridge.PrimaryOrDeviceBus = Bus;
  Record.Pcie.DevBridge.Device = Device;
  Record.Pcie.DevBridge.Function = Function;
  return RecordBytes (Record, offsetof (ErrorRecord, Pcie.DevBridge.PrimaryOrDeviceBus) + 1);
}

inline std::vector<UINT8>
ProcessorRecord (UINT32 Severity)
{
  return RecordBytes (NoiseRecord (Severity, gEfiProcessorGenericErrorSectionGuid),
                      offsetof (ErrorRecord, Processor));
}
