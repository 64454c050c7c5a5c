/// The Generic Error Status Block of BERT and GHES (ACPI 6.5, 18.3.2.7).
#pragma once

#include "Base.h"

/// Head of a block. Its data entries follow, and the raw data where it says.
struct [[gnu::packed]] ErrorStatusBlock {
  UINT32 BlockStatus; ///< Bits 3 to 0: kinds of errors; 13 to 4: number of data entries.
  UINT32 RawDataOffset;
  UINT32 RawDataLength;
  UINT32 DataLength;    ///< Of all data entries, in bytes.
  UINT32 ErrorSeverity; ///< An enum CperSeverity.
};
LAYOUT_OFFSET (ErrorStatusBlock, DataLength, 12);
LAYOUT_SIZE (ErrorStatusBlock, 20);

inline constexpr UINT32 ERROR_STATUS_KINDS = 0x0000000F;
inline constexpr UINT32 ERROR_STATUS_COUNT_SHIFT = 4;
inline constexpr UINT32 ERROR_STATUS_COUNT_MAX = 0x3FF;
inline constexpr UINT32 ERROR_STATUS_RESERVED = 0xFFFFC000;

/// Head of a data entry. The body of its section follows.
struct [[gnu::packed]] ErrorDataEntry {
  EFI_GUID SectionType;
  UINT32 ErrorSeverity; ///< An enum CperSeverity.
  UINT16 Revision;
  UINT8 ValidationBits; ///< Bits 0 and 1 as in a section descriptor.
  UINT8 Flags;          ///< As in a section descriptor.
  UINT32 ErrorDataLength;
  EFI_GUID FruId;
  CHAR8 FruText[20];
  UINT64 TimeStamp; ///< Only there from revision 0x0300 on.
};
LAYOUT_OFFSET (ErrorDataEntry, ErrorSeverity, 16);
LAYOUT_OFFSET (ErrorDataEntry, Revision, 20);
LAYOUT_OFFSET (ErrorDataEntry, ErrorDataLength, 24);
LAYOUT_OFFSET (ErrorDataEntry, FruText, 44);
LAYOUT_OFFSET (ErrorDataEntry, TimeStamp, 64);
LAYOUT_SIZE (ErrorDataEntry, 72);

inline constexpr UINT16 ERROR_DATA_REVISION_TIMED = 0x0300;
inline constexpr UINT8 ERROR_DATA_TIME_VALID = 0x04;
