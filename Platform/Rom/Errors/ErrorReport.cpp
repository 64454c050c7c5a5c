#include "ErrorReport.h"

#include "Firmware.h"
#include "WritableWhenLocked.h"

namespace {

/// Who makes these records.
constexpr EFI_GUID CreatorId = {
    0x4F6C1D2E, 0x93A7, 0x4B58, {0x8E, 0x21, 0x7A, 0x06, 0xD5, 0xC9, 0x3B, 0x14}};

constexpr UINTN BodySizeMax = sizeof (EFI_PCIE_ERROR_DATA);

/// The data of one status code. A body takes as much of its place as it has bytes.
struct [[gnu::packed]] ReportedRecord {
  EFI_STATUS_CODE_DATA Data;
  CperRecordHeader Header;
  CperSectionDescriptor Section;
  UINT8 Body[BodySizeMax];
};
LAYOUT_SIZE (ReportedRecord, sizeof (EFI_STATUS_CODE_DATA) + sizeof (ErrorRecord));

/// Where the listener reads is where this writes.
constexpr UINTN RecordOffset = offsetof (ReportedRecord, Header);
LAYOUT_OFFSET (ReportedRecord, Header, sizeof (EFI_STATUS_CODE_DATA));
LAYOUT_OFFSET (ReportedRecord, Section, RecordOffset + offsetof (ErrorRecord, Section));
LAYOUT_OFFSET (ReportedRecord, Body, RecordOffset + offsetof (ErrorRecord, Pcie));

/// Number of the last record of this boot.
WRITABLE_WHEN_LOCKED constinit UINT64 mRecordId = 0;

} // namespace

bool
ReportErrorRecord (UINT32 Severity,
                   const EFI_GUID *Notification,
                   const EFI_GUID *SectionType,
                   const VOID *Body,
                   UINTN BodySize)
{
  constexpr UINTN BodyOffset = offsetof (ReportedRecord, Body) - RecordOffset;
  const UINTN RecordSize = BodyOffset + BodySize;

  ReportedRecord Record = {};
  Record.Data.HeaderSize = sizeof (Record.Data);
  Record.Data.Size = static_cast<UINT16> (RecordSize);
  Record.Data.Type = gEfiStatusCodeSpecificDataGuid;

  Record.Header.SignatureStart = CPER_SIGNATURE_START;
  Record.Header.Revision = CPER_REVISION;
  Record.Header.SignatureEnd = CPER_SIGNATURE_END;
  Record.Header.SectionCount = 1;
  Record.Header.ErrorSeverity = Severity;
  Record.Header.RecordLength = static_cast<UINT32> (RecordSize);
  Record.Header.CreatorId = CreatorId;
  Record.Header.NotificationType = *Notification;
  Record.Header.RecordId = __atomic_add_fetch (&mRecordId, 1, __ATOMIC_RELAXED);

  Record.Section.SectionOffset = BodyOffset;
  Record.Section.SectionLength = static_cast<UINT32> (BodySize);
  Record.Section.Revision = CPER_SECTION_REVISION;
  Record.Section.Flags = CPER_SECTION_FLAG_PRIMARY;
  Record.Section.SectionType = *SectionType;
  Record.Section.SectionSeverity = Severity;
  __builtin_memcpy (Record.Body, Body, BodySize);

  const EFI_STATUS_CODE_TYPE Major =
      Severity == CperSeverityCorrected ? EFI_ERROR_MINOR : EFI_ERROR_MAJOR;
  return !EFI_ERROR (FirmwareReportStatusCode (EFI_ERROR_CODE | Major, HARDWARE_ERROR_STATUS_CODE,
                                               0, nullptr, &Record.Data));
}
