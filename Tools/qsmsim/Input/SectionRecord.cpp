#include "SectionRecord.h"

#include <algorithm>
#include <cstring>

namespace {

/// The bit of a record header's ValidationBits that declares TimeStamp valid.
constexpr UINT32 TimeStampValid = 0x02;

} // namespace

std::vector<UINT8>
RecordOfSection (const LooseSection &Section, std::string_view Body)
{
  constexpr UINTN BodyOffset = offsetof (ErrorRecord, Memory);
  std::vector<UINT8> Bytes (BodyOffset + Body.size ());

  CperRecordHeader Header = {};
  Header.SignatureStart = CPER_SIGNATURE_START;
  Header.Revision = CPER_REVISION;
  Header.SignatureEnd = CPER_SIGNATURE_END;
  Header.SectionCount = 1;
  Header.ErrorSeverity = Section.Severity;
  Header.RecordLength = static_cast<UINT32> (Bytes.size ());
  if (Section.TimeStamp) {
    Header.ValidationBits = TimeStampValid;
    Header.TimeStamp = *Section.TimeStamp;
  }

  CperSectionDescriptor Descriptor = {};
  Descriptor.SectionOffset = BodyOffset;
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
  std::copy (Body.begin (), Body.end (), Bytes.begin () + BodyOffset);
  return Bytes;
}
