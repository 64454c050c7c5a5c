#include "RecordNotes.h"

#include <utility>

#include <fmt/format.h>

#include "Record/ErrorClass.h"

namespace {

/// Of a socket, a channel and a DIMM the driver compares the low 8 bits.
constexpr UINT64 COMPARED_BITS = 0xFF;

void
NoteHeader (const CperRecordHeader &Header, UINTN Size, std::vector<CperNote> &Notes)
{
  if (Header.SignatureStart != CPER_SIGNATURE_START || Header.SignatureEnd != CPER_SIGNATURE_END) {
    Notes.push_back (
        {"signature-missing", "the bytes have no CPER signature, the driver does not look for it"});
  }
  if (Header.RecordLength != Size) {
    Notes.push_back (
        {"record-length-differs",
         fmt::format ("RecordLength is {}, the record has {} bytes", +Header.RecordLength, Size)});
  }
  if (Header.SectionCount != 1) {
    Notes.push_back ({"section-count",
                      fmt::format ("SectionCount is {}, the driver reads the first section alone",
                                   +Header.SectionCount)});
  }
  if (Header.ErrorSeverity > CperSeverityInformational) {
    Notes.push_back ({"severity-unknown",
                      fmt::format ("the standard has no {}, the driver takes it for informational",
                                   CperSeverityText (Header.ErrorSeverity))});
  }
}

void
NoteBody (const CperDescription::SectionEntry &Section,
          const std::string &Name,
          std::vector<CperNote> &Notes)
{
  const CperSectionDescriptor &Descriptor = Section.Descriptor;
  if (Section.BodySize == 0) {
    Notes.push_back ({"body-missing", fmt::format ("the body of {} at {} is not in the file", Name,
                                                   +Descriptor.SectionOffset)});
  } else {
    Notes.push_back ({"body-cut", fmt::format ("of the {} bytes of the body of {} the file has {}",
                                               +Descriptor.SectionLength, Name, Section.BodySize)});
  }
}

void
NoteSections (CperDescription &Description)
{
  auto &Notes = Description.Notes;
  const bool Several = Description.Header.SectionCount > 1;
  for (UINTN Index = 0; Index < Description.Sections.size (); ++Index) {
    const auto &Section = Description.Sections[Index];
    const CperSectionDescriptor &Descriptor = Section.Descriptor;
    const std::string Name = Several ? fmt::format ("section {}", Index + 1) : "the section";
    if (Section.DescriptorSize < sizeof (Descriptor)) {
      Notes.push_back ({"descriptor-cut",
                        fmt::format ("the file ends {} the descriptor of {}",
                                     Section.DescriptorSize == 0 ? "ahead of" : "within", Name)});
    }
    // Of the others it stands with them.
    if (Index == 0 && Section.BodySize < Descriptor.SectionLength) {
      NoteBody (Section, Name, Notes);
    }
    if (Section.DescriptorSize == sizeof (Descriptor) &&
        Descriptor.SectionSeverity != Description.Header.ErrorSeverity) {
      Notes.push_back ({"section-severity-differs",
                        fmt::format ("{} is {}, the driver goes by the record", Name,
                                     CperSeverityText (Descriptor.SectionSeverity))});
    }
  }
}

/// Sections of errors that the driver would report, if they were the first one.
void
NoteOtherSections (CperDescription &Description)
{
  const auto &First = Description.Sections.front ();
  for (UINTN Index = 1; Index < Description.Sections.size (); ++Index) {
    const auto &Section = Description.Sections[Index];
    const CperSection *Kind = FindCperSection (Section.Descriptor.SectionType);
    const bool IsOtherPlace = Section.Place && Section.Place != First.Place;
    if (Kind == nullptr || (Kind == Description.Kind && !IsOtherPlace)) {
      continue;
    }
    Description.Notes.push_back (
        {Kind != Description.Kind ? "class-not-first" : "place-not-first",
         fmt::format ("section {} is of a {} error{}, of which the driver takes no notice",
                      Index + 1, Kind->Name,
                      Section.Place ? " at " + PlaceText (Kind->ErrorClass, *Section.Place) : "")});
  }
}

/// What follows from the driver's reading the first section's body at 200.
std::string
ConsequenceText (const CperDescription &Description)
{
  const auto Told = Description.Sections.front ().Place;
  const auto Read = PlaceOf (Description.DriverReads);
  if (!Told || !Read) {
    return "an event may name a wrong device";
  }
  const UINT8 Class = Description.Kind->ErrorClass;
  return Told == Read ? "it finds the same place there"
                      : fmt::format ("an event would name another device, that at {} and not that "
                                     "at {}",
                                     PlaceText (Class, *Read), PlaceText (Class, *Told));
}

void
NoteOffset (CperDescription &Description)
{
  const UINT32 Offset = Description.Sections.front ().Descriptor.SectionOffset;
  if (Offset != BODY_READ_OFFSET) {
    Description.Notes.push_back (
        {"body-not-at-200",
         Description.Kind->ReadSize () > BODY_READ_OFFSET
             ? fmt::format ("the first section's body is at {}, the driver reads it at {}: {}",
                            Offset, BODY_READ_OFFSET, ConsequenceText (Description))
             : fmt::format ("the first section's body is at {} and not at {}; the driver reads "
                            "none of it",
                            Offset, BODY_READ_OFFSET)});
  }
}

/// Bytes that the driver reads and that are not of the body.
void
NoteReadBeyond (CperDescription &Description, UINTN Size)
{
  const CperSectionDescriptor &First = Description.Sections.front ().Descriptor;
  const UINTN ReadSize = Description.Kind->ReadSize ();
  if (Description.DriverReads.empty ()) {
    return;
  }
  if (First.SectionOffset == BODY_READ_OFFSET &&
      First.SectionLength < ReadSize - BODY_READ_OFFSET) {
    Description.Notes.push_back (
        {"body-too-short",
         fmt::format ("the first section's body has {} bytes, the driver reads beyond them",
                      +First.SectionLength)});
  }
  if (Size < ReadSize) {
    Description.Notes.push_back (
        {"zeros-read", fmt::format ("of the {} bytes that the driver reads the file has {}, the "
                                    "rest are zeros: an event may name a wrong device",
                                    ReadSize, Size)});
  }
}

/// "socket, channel and dimm" of the fields for which Holds.
template <typename Predicate>
std::pair<std::string, UINTN>
NamesWhere (const std::vector<CperDescription::FieldValue> &Values, Predicate &&Holds)
{
  std::vector<std::string_view> Names;
  for (const auto &Value : Values) {
    if (Holds (Value)) {
      Names.emplace_back (Value.Field->Name);
    }
  }
  std::string Text;
  for (UINTN Index = 0; Index < Names.size (); ++Index) {
    Text += Index == 0 ? "" : Index + 1 == Names.size () ? " and " : ", ";
    Text += Names[Index];
  }
  return {Text, Names.size ()};
}

} // namespace

void
NoteEnvelope (CperDescription &Description, UINTN Size)
{
  NoteHeader (Description.Header, Size, Description.Notes);
  NoteSections (Description);
  NoteOtherSections (Description);
  if (Description.Kind != nullptr) {
    NoteOffset (Description);
    NoteReadBeyond (Description, Size);
  }
}

void
NoteLocation (CperDescription &Description)
{
  auto &Notes = Description.Notes;
  const UINT64 Valid = CperValidationBits (Description.Body);
  const auto [Invalid, Count] = NamesWhere (Description.Fields, [&] (const auto &Value) {
    return Value.Field->TellsDevice && Value.Value &&
           (Valid >> Value.Field->ValidationBit & 1) == 0;
  });
  if (Count != 0) {
    const bool One = Count == 1;
    Notes.push_back ({"location-not-valid",
                      fmt::format ("{} {} not declared valid{}", Invalid, One ? "is" : "are",
                                   !Description.DriverReads.empty () ? ""
                                   : One ? ", the driver reads it all the same"
                                         : ", the driver reads them all the same")});
  }
  for (const auto &[Field, Value] : Description.Read ()) {
    if (!Field->TellsDevice || !Value || *Value <= Field->Largest ()) {
      continue;
    }
    Notes.push_back (
        {"place-impossible",
         fmt::format ("there is no PCI {} {}, so that no device matches", Field->Name, *Value)});
  }
  if (Description.Kind->ErrorClass == ErrorClassMemory) {
    for (const auto &[Field, Value] : Description.Read ()) {
      if (Field->TellsDevice && Value && *Value > COMPARED_BITS) {
        Notes.push_back (
            {"low-bits-compared", fmt::format ("of {} {} the driver compares the low 8 bits, {}",
                                               Field->Name, *Value, *Value & COMPARED_BITS)});
      }
    }
    if (Description.Header.ErrorSeverity >= CperSeverityInformational) {
      Notes.push_back ({"informational-is-critical",
                        "a memory error that is not corrected gives a Critical event, even an "
                        "informational one"});
    }
  }
}
