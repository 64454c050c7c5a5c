#include "CperMake.h"

#include <algorithm>
#include <cstring>

std::vector<UINT8>
MakeCper (const CperSection &Section,
          const CperEnvelope &Envelope,
          const std::vector<CperDescription::FieldValue> &Fields)
{
  constexpr UINTN BodyOffset = BODY_READ_OFFSET;
  std::vector<UINT8> Bytes (BodyOffset + Section.BodySize);

  UINT64 ValidationBits = 0;
  for (const auto &[Field, Value] : Fields) {
    ValidationBits |= UINT64{1} << Field->ValidationBit;
    Field->Write (&Bytes[BodyOffset], Value.value_or (0));
  }
  if (ValidationBits != 0) {
    std::memcpy (&Bytes[BodyOffset], &ValidationBits, sizeof (ValidationBits));
  }

  CperRecordHeader Header = {};
  Header.SignatureStart = CPER_SIGNATURE_START;
  Header.Revision = Envelope.Revision;
  Header.SignatureEnd = CPER_SIGNATURE_END;
  Header.SectionCount = 1;
  Header.ErrorSeverity = Envelope.Severity;
  Header.RecordLength = static_cast<UINT32> (Bytes.size ());
  Header.NotificationType = Envelope.Notification;
  Header.RecordId = Envelope.RecordId;
  std::memcpy (Bytes.data (), &Header, sizeof (Header));

  CperSectionDescriptor Descriptor = {};
  Descriptor.SectionOffset = BodyOffset;
  Descriptor.SectionLength = static_cast<UINT32> (Section.BodySize);
  Descriptor.Revision = CPER_SECTION_REVISION;
  Descriptor.Flags = CPER_SECTION_FLAG_PRIMARY;
  Descriptor.SectionType = Section.Type;
  Descriptor.SectionSeverity = Envelope.Severity;
  if (!Envelope.FruText.empty ()) {
    Descriptor.ValidationBits = CPER_FRU_TEXT_VALID;
    std::copy (Envelope.FruText.begin (), Envelope.FruText.end (), Descriptor.FruText);
  }
  std::memcpy (&Bytes[sizeof (Header)], &Descriptor, sizeof (Descriptor));
  return Bytes;
}
