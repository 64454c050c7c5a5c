#include "RecordDecoder.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "InputFile.h"
#include "Record/ErrorClass.h"

namespace {

/// Of a socket, a channel and a DIMM the driver compares the low 8 bits.
constexpr UINT64 COMPARED_BITS = 0xFF;

UINT64
ReadField (const ErrorRecord &Record, const CperField &Field)
{
  UINT64 Value = 0;
  std::memcpy (&Value, reinterpret_cast<const UINT8 *> (&Record) + Field.Offset, Field.Size);
  return Value;
}

void
DescribeFields (const ErrorRecord &Record, UINTN Size, CperDescription &Description)
{
  UINT64 ValidationBits = 0;
  std::memcpy (&ValidationBits, reinterpret_cast<const UINT8 *> (&Record.Memory),
               sizeof (ValidationBits));
  for (const CperField &Field : Description.Section->Fields) {
    const bool IsValid = (ValidationBits >> Field.ValidationBit & 1) != 0;
    if (!Field.TellsDevice && !(IsValid && Field.Offset + Field.Size <= Size)) {
      continue;
    }
    const UINT64 Value = ReadField (Record, Field);
    Description.Fields.push_back ({&Field, Value});
    if (!IsValid) {
      Description.Notes.push_back (
          fmt::format ("{} is not declared valid, the driver reads it all the same", Field.Name));
    }
    if (Field.TellsDevice && Value > COMPARED_BITS) {
      Description.Notes.push_back (fmt::format ("of {} {} the driver compares the low 8 bits, {}",
                                                Field.Name, Value, Value & COMPARED_BITS));
    }
  }
}

void
DescribeEnvelope (const ErrorRecord &Record, UINTN Size, CperDescription &Description)
{
  const CperRecordHeader &Header = Record.Header;
  const auto Note = [&] (bool Holds, std::string Text) {
    if (Holds) {
      Description.Notes.push_back (std::move (Text));
    }
  };
  Note (Header.SignatureStart != CPER_SIGNATURE_START || Header.SignatureEnd != CPER_SIGNATURE_END,
        "the bytes have no CPER signature, the driver does not look for it");
  Note (Header.RecordLength != Size,
        fmt::format ("RecordLength is {}, the file has {} bytes", +Header.RecordLength, Size));
  Note (Header.SectionCount != 1,
        fmt::format ("SectionCount is {}, the driver reads one section", +Header.SectionCount));
  if (Description.Section != nullptr) {
    Note (Record.Section.SectionOffset != offsetof (ErrorRecord, Memory),
          fmt::format ("the section's body is at {}, the driver reads it at {}",
                       +Record.Section.SectionOffset, offsetof (ErrorRecord, Memory)));
    Note (Record.Section.SectionSeverity != Header.ErrorSeverity,
          fmt::format ("the section is {}, the driver goes by the record",
                       CperSeverityText (Record.Section.SectionSeverity)));
  }
}

} // namespace

RecordDecoder::RecordDecoder (const PlatformDescription &OfPlatform, UINTN OfProcessor)
    : Platform (OfPlatform), Processor (OfProcessor)
{
}

CperDescription
RecordDecoder::Describe (std::span<const UINT8> Bytes) const
{
  const ErrorRecord Record = FrontOf (Bytes);
  CperDescription Description = {};
  Description.Severity = Record.Header.ErrorSeverity;
  Description.SectionType = Record.Section.SectionType;
  Description.Section = FindCperSection (Description.SectionType);
  DescribeEnvelope (Record, Bytes.size (), Description);
  if (Description.Section != nullptr) {
    DescribeFields (Record, Bytes.size (), Description);
    if (Description.Section->ErrorClass == ErrorClassProcessor) {
      Description.Notes.push_back ("the driver takes the socket of the processor that reports, "
                                   "whatever the record says");
    }
  }
  if ((Record.Section.ValidationBits & CPER_FRU_TEXT_VALID) != 0) {
    const CHAR8 *Text = Record.Section.FruText;
    Description.FruText.assign (Text, strnlen (Text, sizeof (Record.Section.FruText)));
    std::ranges::replace_if (
        Description.FruText,
        [] (char Character) {
          return !IsPrintableAscii ({&Character, 1});
        },
        '?');
  }
  return Description;
}
