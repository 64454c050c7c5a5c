#include "RecordDecoder.h"

#include <algorithm>

#include "FrontOf.h"
#include "RecordNotes.h"

namespace {

/// The bytes from Offset on, at most Size.
std::span<const UINT8>
PartOf (std::span<const UINT8> Bytes, UINTN Offset, UINTN Size)
{
  const UINTN Start = std::min<UINTN> (Offset, Bytes.size ());
  return Bytes.subspan (Start, std::min<UINTN> (Size, Bytes.size () - Start));
}

/// The fields of a body that are declared valid, and those that tell the device.
std::vector<CperDescription::FieldValue>
FieldsOf (const CperSection &Kind, std::span<const UINT8> Body)
{
  std::vector<CperDescription::FieldValue> Values;
  Values.reserve (Kind.Fields.size ());
  const UINT64 Valid = CperValidationBits (Body);
  for (const CperField &Field : Kind.Fields) {
    const bool IsThere = Field.Offset + Field.Size <= Body.size ();
    if (Field.TellsDevice && !IsThere) {
      Values.push_back ({&Field, std::nullopt});
    } else if (IsThere && (Field.TellsDevice || (Valid >> Field.ValidationBit & 1) != 0)) {
      Values.push_back ({&Field, Field.Read (Body.data ())});
    }
  }
  return Values;
}

/// The place of the device, if the body declares all of it.
std::optional<DevicePlace>
DeclaredPlace (const CperSection &Kind, std::span<const UINT8> Body)
{
  const UINT64 Valid = CperValidationBits (Body);
  auto Values = FieldsOf (Kind, Body);
  std::erase_if (
      Values, [&] (const auto &Value) { return (Valid >> Value.Field->ValidationBit & 1) == 0; });
  return PlaceOf (Values);
}

void
DescribeSections (std::span<const UINT8> Bytes, CperDescription &Description)
{
  const UINTN Count = std::max<UINTN> (Description.Header.SectionCount, 1);
  UINTN Offset = sizeof (CperRecordHeader);
  for (UINTN Index = 0; Index < Count && (Index == 0 || Offset < Bytes.size ()); ++Index) {
    const auto Front = PartOf (Bytes, Offset, sizeof (CperSectionDescriptor));
    const auto Descriptor = FrontOf<CperSectionDescriptor> (Front);
    const auto Body = PartOf (Bytes, Descriptor.SectionOffset, Descriptor.SectionLength);
    const CperSection *Kind = FindCperSection (Descriptor.SectionType);
    Description.Sections.push_back ({Descriptor, Front.size (), Body.size (),
                                     Kind != nullptr ? DeclaredPlace (*Kind, Body) : std::nullopt});
    Offset += sizeof (CperSectionDescriptor);
  }
}

/// What the driver takes to be the body, as far as it reads it, with zeros behind the bytes.
std::vector<CperDescription::FieldValue>
DriverFields (const CperSection &Kind, std::span<const UINT8> Bytes)
{
  const auto Front = FrontOf<ErrorRecord> (Bytes);
  auto Values = FieldsOf (Kind, PartOf ({reinterpret_cast<const UINT8 *> (&Front), sizeof (Front)},
                                        BODY_READ_OFFSET, Kind.BodySize));
  std::erase_if (Values, [] (const auto &Value) { return !Value.Field->TellsDevice; });
  return Values;
}

} // namespace

RecordDecoder::RecordDecoder (const PlatformDescription &Of, const ReportOptions &How)
    : Platform (Of), Options (How), Site (Of, How.Processor)
{
}

CperDescription
RecordDecoder::Describe (std::span<const UINT8> Bytes) const
{
  CperDescription Description = {};
  Description.Header = FrontOf<CperRecordHeader> (Bytes);
  DescribeSections (Bytes, Description);
  const CperSectionDescriptor &First = Description.Sections.front ().Descriptor;
  Description.Kind = FindCperSection (First.SectionType);
  Description.Body = PartOf (Bytes, First.SectionOffset, First.SectionLength);
  if (Description.Kind != nullptr) {
    Description.Fields = FieldsOf (*Description.Kind, Description.Body);
    const UINTN ReadSize = Description.Kind->ReadSize ();
    const bool IsRead =
        Bytes.size () >= ReadSize || Options.Placement == RecordPlacement::ZeroFilledPage;
    if (IsRead && (First.SectionOffset != BODY_READ_OFFSET ||
                   Description.Body.size () < ReadSize - BODY_READ_OFFSET)) {
      Description.DriverReads = DriverFields (*Description.Kind, Bytes);
    }
  }
  NoteEnvelope (Description, Bytes.size ());
  if (Description.Kind != nullptr) {
    NoteLocation (Description);
    Site.NoteBlame (Description);
  }
  return Description;
}
