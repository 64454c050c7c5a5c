#include "SectionRecord.h"

#include <algorithm>
#include <cstring>

#include "CperLayout.h"

std::vector<UINT8>
RecordOfSection (const LooseSection &Section, std::string_view Body)
{
  std::vector<UINT8> Bytes (BODY_READ_OFFSET + Body.size ());

  CperRecordHeader Header = {};
  Header.SignatureStart = CPER_SIGNATURE_START;
  Header.Revision = Section.Revision;
  Header.SignatureEnd = CPER_SIGNATURE_END;
  Header.SectionCount = 1;
  Header.ErrorSeverity = Section.Severity;
  Header.RecordLength = static_cast<UINT32> (Bytes.size ());
  Header.NotificationType = Section.Notification;
  Header.RecordId = Section.RecordId;
  if (Section.TimeStamp) {
    Header.ValidationBits = CPER_TIME_STAMP_VALID;
    Header.TimeStamp = *Section.TimeStamp;
  }

  CperSectionDescriptor Descriptor = {};
  Descriptor.SectionOffset = BODY_READ_OFFSET;
  Descriptor.SectionLength = static_cast<UINT32> (Body.size ());
  Descriptor.Revision = CPER_SECTION_REVISION;
  Descriptor.ValidationBits = Section.ValidationBits;
  Descriptor.Flags = Section.Flags;
  Descriptor.SectionType = Section.Type;
  Descriptor.FruId = Section.FruId;
  Descriptor.SectionSeverity = Section.Severity;
  std::memcpy (Descriptor.FruText, Section.FruText, sizeof (Section.FruText));

  std::memcpy (Bytes.data (), &Header, sizeof (Header));
  std::memcpy (&Bytes[offsetof (ErrorRecord, Section)], &Descriptor, sizeof (Descriptor));
  std::copy (Body.begin (), Body.end (), Bytes.begin () + BODY_READ_OFFSET);
  return Bytes;
}
