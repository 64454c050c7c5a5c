#include "CperMake.h"

#include <algorithm>
#include <cstring>

#include "SectionRecord.h"

std::vector<UINT8>
MakeCper (const CperSection &Section,
          const CperEnvelope &Envelope,
          const std::vector<CperDescription::FieldValue> &Fields)
{
  std::string Body (Section.BodySize, '\0');
  auto *Bytes = reinterpret_cast<UINT8 *> (Body.data ());
  UINT64 ValidationBits = 0;
  for (const auto &[Field, Value] : Fields) {
    ValidationBits |= UINT64{1} << Field->ValidationBit;
    Field->Write (Bytes, Value.value_or (0));
  }
  if (ValidationBits != 0) {
    std::memcpy (Bytes, &ValidationBits, sizeof (ValidationBits));
  }

  LooseSection Loose = {.Type = Section.Type,
                        .Severity = Envelope.Severity,
                        .Flags = CPER_SECTION_FLAG_PRIMARY,
                        .Revision = Envelope.Revision,
                        .RecordId = Envelope.RecordId,
                        .Notification = Envelope.Notification};
  if (!Envelope.FruText.empty ()) {
    Loose.ValidationBits = CPER_FRU_TEXT_VALID;
    std::ranges::copy (Envelope.FruText, Loose.FruText);
  }
  return RecordOfSection (Loose, Body);
}
