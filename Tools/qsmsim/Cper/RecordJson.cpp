#include "RecordJson.h"

#include <fmt/format.h>

#include "CperNames.h"
#include "Guid.h"
#include "PcieErrors.h"
#include "TimeStamp.h"

namespace {

using Values = std::vector<CperDescription::FieldValue>;

void
WriteName (JsonAppender &Json, const char *Name)
{
  if (Name != nullptr) {
    Json.String (Name);
  } else {
    Json.Null ();
  }
}

/// An array of the names of the bits that are set.
void
WriteNames (JsonAppender &Json,
            const char *Key,
            UINT64 Bits,
            void (*AppendNames) (std::string &Text, UINT64 Bits))
{
  Json.Key (Key).Open ('[');
  std::string Name;
  for (; Bits != 0; Bits &= Bits - 1) {
    Name.clear ();
    AppendNames (Name, Bits & (~Bits + 1));
    Json.String (Name);
  }
  Json.Close (']');
}

/// A GUID and, if it has one, its name.
void
WriteGuid (JsonAppender &Json, const char *Key, const EFI_GUID &Guid, const char *Name)
{
  Json.Key (Key).Open ('{').Key ("guid").String (GuidText (Guid)).Key ("name");
  WriteName (Json, Name);
  Json.Close ('}');
}

void
WriteEnvelope (JsonAppender &Json, const CperRecordHeader &Header)
{
  Json.Key ("recordId").String (fmt::format ("0x{:X}", +Header.RecordId));
  if ((Header.ValidationBits & CPER_TIME_STAMP_VALID) != 0) {
    const TimeStamp Time = ReadTimeStamp (Header.TimeStamp);
    Json.Key ("timestamp").String (Time.Text);
    Json.Key ("timestampPrecise").Boolean (Time.Precise);
    Json.Key ("timestampForm")
        .String (Time.Form == TimeStampForm::Bcd      ? "bcd"
                 : Time.Form == TimeStampForm::Binary ? "binary"
                                                      : "none");
  }
  const EFI_GUID Creator = Header.CreatorId;
  if (!IsZero (Creator)) {
    WriteGuid (Json, "creator", Creator, CreatorName (Creator));
  }
  const EFI_GUID Notification = Header.NotificationType;
  if (!IsZero (Notification)) {
    WriteGuid (Json, "notification", Notification, NotificationName (Notification));
  }
  if ((Header.ValidationBits & CPER_PLATFORM_ID_VALID) != 0) {
    Json.Key ("platformId").String (GuidText (Header.PlatformId));
  }
  if ((Header.ValidationBits & CPER_PARTITION_ID_VALID) != 0) {
    Json.Key ("partitionId").String (GuidText (Header.PartitionId));
  }
  if (Header.Flags != 0) {
    WriteNames (Json, "flags", Header.Flags, AppendRecordFlags);
  }
}

void
WriteSection (JsonAppender &Json, const CperDescription::SectionEntry &Section)
{
  const CperSectionDescriptor &Descriptor = Section.Descriptor;
  Json.Open ('{');
  if (CPER_HAS (Section, SectionType)) {
    Json.Key ("type").String (GuidText (Descriptor.SectionType));
    Json.Key ("name");
    WriteName (Json, SectionTypeName (Descriptor.SectionType));
  }
  Json.Key ("severity");
  if (CPER_HAS (Section, SectionSeverity)) {
    Json.String (CperSeverityText (Descriptor.SectionSeverity));
  } else {
    Json.Null ();
  }
  Json.Key ("offset").Number (Descriptor.SectionOffset);
  Json.Key ("length").Number (Descriptor.SectionLength);
  Json.Key ("bytesInFile").Number (Section.BodySize);
  if (Descriptor.Flags != 0) {
    WriteNames (Json, "flags", Descriptor.Flags, AppendSectionFlags);
  }
  if ((Descriptor.ValidationBits & CPER_FRU_ID_VALID) != 0 && CPER_HAS (Section, FruId)) {
    Json.Key ("fruId").String (GuidText (Descriptor.FruId));
  }
  const std::string FruText = FruTextOf (Descriptor);
  if (!FruText.empty ()) {
    Json.Key ("fruText").String (FruText);
  }
  Json.Close ('}');
}

void
WriteFields (JsonAppender &Json, const char *Key, const Values &Fields)
{
  Json.Key (Key).Open ('{');
  for (const auto &[Field, Value] : Fields) {
    Json.Key (Field->Name);
    if (Value) {
      Json.Number (*Value);
    } else {
      Json.Null ();
    }
  }
  Json.Close ('}');
}

/// What values mean that the numbers alone do not tell.
void
WriteMeanings (JsonAppender &Json, const Values &Fields)
{
  Json.Key ("meanings").Open ('{');
  std::string Meaning;
  for (const auto &[Field, Value] : Fields) {
    if (Value && Field->Form.Meaning != nullptr) {
      Meaning.clear ();
      Field->Form.Meaning (Meaning, *Value);
      Json.Key (Field->Name).String (Meaning);
    }
  }
  if (const auto Row = WholeRow (Fields)) {
    Json.Key ("whole-row").Number (*Row);
  }
  Json.Close ('}');
}

void
WriteStatus (JsonAppender &Json, const PcieStatus &Status)
{
  Json.Key (Status.Name).Open ('{').Key ("value").Number (Status.Value);
  WriteNames (Json, "names", Status.Value, Status.AppendNames);
  Json.Close ('}');
}

void
WritePcieErrors (JsonAppender &Json, const CperDescription &Description)
{
  if (const auto DeviceStatus = DeviceStatusOf (Description)) {
    WriteStatus (Json, *DeviceStatus);
  }
  const std::vector<PcieStatus> Statuses = AerStatuses (Description);
  if (Statuses.empty ()) {
    return;
  }
  Json.Key ("aer").Open ('{');
  for (const PcieStatus &Status : Statuses) {
    WriteStatus (Json, Status);
  }
  const std::string Tlp = TlpHeaderText (Description);
  if (!Tlp.empty ()) {
    Json.Key ("tlpHeader").String (Tlp);
  }
  Json.Close ('}');
}

void
WritePlace (JsonAppender &Json, const char *Key, const Values &Fields)
{
  const std::string Place = PciPlaceText (Fields);
  if (!Place.empty ()) {
    Json.Key (Key).String (Place);
  }
}

void
WriteKind (JsonAppender &Json, const CperDescription &Description)
{
  const EFI_GUID Type = Description.Sections.front ().Descriptor.SectionType;
  Json.Key ("class");
  WriteName (Json, Description.Kind != nullptr ? Description.Kind->Name : nullptr);
  Json.Key ("sectionType").String (GuidText (Type)).Key ("sectionName");
  WriteName (Json, SectionTypeName (Type));
  Json.Key ("severity").String (CperSeverityText (Description.Header.ErrorSeverity));
}

} // namespace

void
WriteRecord (JsonAppender &Json, std::string_view Name, const CperDescription &Description)
{
  Json.Key ("file").String (Name);
  WriteKind (Json, Description);
  WriteEnvelope (Json, Description.Header);
  Json.Key ("sections").Open ('[');
  for (const auto &Section : Description.Sections) {
    WriteSection (Json, Section);
  }
  Json.Close (']');
  WritePlace (Json, "place", Description.Fields);
  WriteFields (Json, "fields", Description.Fields);
  WriteMeanings (Json, Description.Fields);
  if (!Description.DriverReads.empty ()) {
    WriteFields (Json, "driverReads", Description.DriverReads);
    WritePlace (Json, "driverPlace", Description.DriverReads);
  }
  WritePcieErrors (Json, Description);
  const std::string Brand = BrandOf (Description);
  if (!Brand.empty ()) {
    Json.Key ("brand").String (Brand);
  }
  Json.Key ("fruText").String (FruTextOf (Description.Sections.front ().Descriptor));
  Json.Key ("notes").Open ('[');
  for (const CperNote &Note : Description.Notes) {
    Json.Open ('{').Key ("code").String (Note.Code).Key ("text").String (Note.Text).Close ('}');
  }
  Json.Close (']');
}
