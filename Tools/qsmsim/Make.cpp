#include "Commands.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <limits>

#include <fmt/format.h>

#include "CperMake.h"
#include "InputFile.h"
#include "Options.h"
#include "Record/ErrorClass.h"
#include "ToolOptions.h"

namespace {

constexpr UINTN BODY_SIZE_MAX = 4096;

/// What usually triggers such a record.
std::string
UsualNotification (const CperSection &Section, UINT32 Severity)
{
  if (Section.ErrorClass == ErrorClassPcie) {
    return "pcie";
  }
  return Severity == CperSeverityCorrected ? "cmc" : "mce";
}

CperEnvelope
ReadEnvelope (const MakeArguments &Arguments)
{
  CperEnvelope Envelope;
  Envelope.Severity = SeverityOption ("--severity", Arguments.Severity);
  Envelope.Notification = NamedOption (
      "--notification",
      Arguments.Notification.value_or (UsualNotification (Arguments.Section, Envelope.Severity)),
      CperNotifications ());
  Envelope.Revision = static_cast<UINT16> (
      NumberOption ("--revision", Arguments.Revision, CPER_REVISION_MIN, CPER_REVISION_MAX));
  Envelope.RecordId =
      NumberOption ("--record-id", Arguments.RecordId, 0, std::numeric_limits<UINT64>::max ());
  Envelope.FruText =
      TextOption ("--fru-text", Arguments.FruText, sizeof (CperSectionDescriptor::FruText));
  return Envelope;
}

std::vector<CperDescription::FieldValue>
ReadFields (const MakeArguments &Arguments)
{
  std::vector<CperDescription::FieldValue> Values;
  for (UINTN Index = 0; Index < Arguments.Fields.size (); ++Index) {
    if (const std::optional<std::string> &Text = Arguments.Fields[Index]) {
      const CperField &Field = Arguments.Section.Fields[Index];
      const UINT64 Value =
          NumberOption (fmt::format ("--{}", Field.Name), *Text, 0, Field.Largest ());
      Values.push_back ({&Field, Value});
    }
  }
  return Values;
}

/// Writes the file, or leaves none behind.
void
WriteFile (const std::filesystem::path &File, const std::vector<UINT8> &Bytes)
{
  std::ofstream Stream (File, std::ios::binary | std::ios::trunc);
  const bool IsOpen = Stream.is_open ();
  Stream.write (reinterpret_cast<const char *> (Bytes.data ()),
                static_cast<std::streamsize> (Bytes.size ()));
  Stream.close ();
  if (!Stream) {
    const int Reason = errno;
    if (IsOpen && std::filesystem::is_regular_file (File)) {
      std::filesystem::remove (File);
    }
    throw InputError (fmt::format ("{}: expected a file that can be written: {}", File.string (),
                                   std::strerror (Reason)));
  }
}

} // namespace

void
RunMake (const MakeArguments &Arguments)
{
  CperSection Section = Arguments.Section;
  if (Section.ErrorClass == 0) {
    Section.Type = GuidOption ("--section-type", Arguments.SectionType);
    Section.BodySize = NumberOption ("--body-size", Arguments.BodySize, 0, BODY_SIZE_MAX);
  }
  const CperEnvelope Envelope = ReadEnvelope (Arguments);
  WriteFile (Arguments.File, MakeCper (Section, Envelope, ReadFields (Arguments)));
}
