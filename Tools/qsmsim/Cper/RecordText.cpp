#include "RecordText.h"

#include <algorithm>

#include <fmt/format.h>

#include "CperNames.h"
#include "Guid.h"
#include "PcieErrors.h"
#include "TimeStamp.h"

namespace {

/// Longest line of parts between commas, if no part is longer.
constexpr std::size_t LINE_LENGTH = 100;

/// Parts of a line in a row, broken where it would become too long.
class Paragraph {
public:
  explicit Paragraph (std::string Start) : Text (std::move (Start)), LineLength (Text.size ()) {}

  void
  Add (std::string_view Part)
  {
    if (Count++ != 0) {
      const bool Fits = LineLength + 2 + Part.size () <= LINE_LENGTH;
      Text += Fits ? ", " : ",\n    ";
      LineLength = Fits ? LineLength + 2 : 4;
    }
    Text += Part;
    LineLength += Part.size ();
  }

  void
  PrintTo (std::ostream &Stream) const
  {
    if (Count != 0) {
      Stream << Text << "\n";
    }
  }

private:
  std::string Text;
  std::size_t LineLength;
  UINTN Count = 0;
};

std::string
TypeText (const EFI_GUID &Type)
{
  const char *Name = SectionTypeName (Type);
  return Name != nullptr ? Name : fmt::format ("unknown type {}", GuidText (Type));
}

std::string
KindText (const CperDescription &Description)
{
  const EFI_GUID Type = Description.Sections.front ().Descriptor.SectionType;
  const std::string Kind = Description.Kind != nullptr
                               ? fmt::format ("{} error", Description.Kind->Name)
                           : SectionTypeName (Type) != nullptr
                               ? fmt::format ("{} section", SectionTypeName (Type))
                               : fmt::format ("section of unknown type {}", GuidText (Type));
  return fmt::format ("{}, {}", Kind, CperSeverityText (Description.Header.ErrorSeverity));
}

void
PrintEnvelope (std::ostream &Stream, const CperRecordHeader &Header)
{
  Paragraph Parts ("  ");
  if (Header.RecordId != 0) {
    Parts.Add (fmt::format ("record id 0x{:X}", +Header.RecordId));
  }
  if ((Header.ValidationBits & CPER_TIME_STAMP_VALID) != 0) {
    TimeStamp Time = ReadTimeStamp (Header.TimeStamp);
    std::ranges::replace (Time.Text, 'T', ' ');
    Parts.Add (fmt::format (
        "time {}{}{}", Time.Precise || Time.Form == TimeStampForm::None ? "" : "about ", Time.Text,
        Time.Form == TimeStampForm::Binary ? " (not in BCD)"
        : Time.Form == TimeStampForm::None ? " (no time)"
                                           : ""));
  }
  const auto AddGuid = [&] (bool Holds, const char *Title, const EFI_GUID &Guid, const char *Name) {
    if (Holds) {
      Parts.Add (fmt::format ("{} {}", Title, Name != nullptr ? Name : GuidText (Guid)));
    }
  };
  const EFI_GUID Creator = Header.CreatorId;
  const EFI_GUID Notification = Header.NotificationType;
  AddGuid (!IsZero (Creator), "creator", Creator, CreatorName (Creator));
  AddGuid (!IsZero (Notification), "notification", Notification, NotificationName (Notification));
  AddGuid ((Header.ValidationBits & CPER_PLATFORM_ID_VALID) != 0, "platform", Header.PlatformId,
           nullptr);
  AddGuid ((Header.ValidationBits & CPER_PARTITION_ID_VALID) != 0, "partition", Header.PartitionId,
           nullptr);
  if (Header.Flags != 0) {
    std::string Flags = "flags: ";
    AppendRecordFlags (Flags, Header.Flags);
    Parts.Add (Flags);
  }
  Parts.PrintTo (Stream);
}

void
PrintSection (std::ostream &Stream, const CperDescription &Description, UINTN Index)
{
  const auto &Section = Description.Sections[Index];
  const CperSectionDescriptor &Descriptor = Section.Descriptor;
  const UINT16 Count = Description.Header.SectionCount;
  Paragraph Parts (Count == 0 ? fmt::format ("  section {}: ", Index + 1)
                              : fmt::format ("  section {} of {}: ", Index + 1, Count));
  if (!CPER_HAS (Section, SectionType)) {
    Parts.Add (fmt::format ("{} descriptor in the file",
                            Section.DescriptorSize == 0 ? "no" : "not all of the"));
    Parts.PrintTo (Stream);
    return;
  }
  Parts.Add (TypeText (Descriptor.SectionType));
  Parts.Add (CPER_HAS (Section, SectionSeverity) ? CperSeverityText (Descriptor.SectionSeverity)
                                                 : "severity not in the file");
  Parts.Add (fmt::format ("{} bytes at {}{}", +Descriptor.SectionLength, +Descriptor.SectionOffset,
                          Section.BodySize >= Descriptor.SectionLength ? ""
                          : Section.BodySize == 0                      ? " (not in the file)"
                                                                       : " (not all in the file)"));
  if (Descriptor.Flags != 0) {
    std::string Flags;
    AppendSectionFlags (Flags, Descriptor.Flags);
    Parts.Add (Flags);
  }
  if ((Descriptor.ValidationBits & CPER_FRU_ID_VALID) != 0 && CPER_HAS (Section, FruId)) {
    Parts.Add (fmt::format ("FRU id {}", GuidText (Descriptor.FruId)));
  }
  const std::string FruText = FruTextOf (Descriptor);
  if (!FruText.empty ()) {
    Parts.Add (fmt::format ("FRU \"{}\"", FruText));
  }
  Parts.PrintTo (Stream);
}

std::string
FieldText (const CperDescription::FieldValue &Of)
{
  const CperField &Field = *Of.Field;
  if (!Of.Value) {
    return fmt::format ("{} missing", Field.Name);
  }
  std::string Meaning;
  if (Field.Form.Meaning != nullptr) {
    Field.Form.Meaning (Meaning, *Of.Value);
  }
  if (Field.Shown == Notation::Meaning) {
    return fmt::format ("{} {}", Field.Name, Meaning);
  }
  const std::string Number = Field.Shown == Notation::Decimal
                                 ? fmt::format ("{}", *Of.Value)
                                 : fmt::format ("0x{:0{}X}", *Of.Value, Field.Digits ());
  return Meaning.empty () ? fmt::format ("{} {}", Field.Name, Number)
                          : fmt::format ("{} {} ({})", Field.Name, Number, Meaning);
}

void
PrintFields (std::ostream &Stream,
             const char *Title,
             const std::vector<CperDescription::FieldValue> &Values)
{
  Paragraph Parts (fmt::format ("  {}", Title));
  const std::string Place = PciPlaceText (Values);
  if (!Place.empty ()) {
    Parts.Add (Place);
  }
  for (const auto &Value : Values) {
    Parts.Add (FieldText (Value));
  }
  if (const auto Row = WholeRow (Values)) {
    Parts.Add (fmt::format ("whole row {}", *Row));
  }
  Parts.PrintTo (Stream);
}

void
PrintPcieErrors (std::ostream &Stream, const CperDescription &Description)
{
  const auto Print = [&] (const PcieStatus &Status) {
    std::string Text = fmt::format ("  {} 0x{:X}: ", Status.Title, Status.Value);
    Status.AppendNames (Text, Status.Value);
    Stream << Text << "\n";
  };
  if (const auto DeviceStatus = DeviceStatusOf (Description)) {
    Print (*DeviceStatus);
  }
  std::ranges::for_each (AerStatuses (Description), Print);
  const std::string Tlp = TlpHeaderText (Description);
  if (!Tlp.empty ()) {
    Stream << "  TLP header " << Tlp << "\n";
  }
}

} // namespace

void
PrintRecord (Console &Console, const std::string &Name, const CperDescription &Description)
{
  std::ostream &Stream = Console.Out;
  Stream << Coloured (Console, Colour::Bold, Name) << ": " << KindText (Description) << "\n";
  PrintEnvelope (Stream, Description.Header);
  for (UINTN Index = 0; Index < Description.Sections.size (); ++Index) {
    PrintSection (Stream, Description, Index);
  }
  if (Description.Kind != nullptr) {
    PrintFields (Stream, "", Description.Fields);
    PrintPcieErrors (Stream, Description);
    const std::string Brand = BrandOf (Description);
    if (!Brand.empty ()) {
      Stream << "  brand \"" << Brand << "\"\n";
    }
    PrintFields (Stream, "the driver reads at 200: ", Description.DriverReads);
  }
  for (const CperNote &Note : Description.Notes) {
    Stream << "  " << Coloured (Console, Colour::Yellow, "note: " + Note.Text) << "\n";
  }
}
