#include "Commands.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <limits>
#include <memory>
#include <optional>

#include <fmt/format.h>

#include "CperMake.h"
#include "InputFile.h"
#include "Options.h"
#include "Record/ErrorClass.h"

namespace {

/// A section whose type is an option.
constexpr CperSection OtherSection = {.Name = "other"};
constexpr UINTN BODY_SIZE_MAX = 4096;

/// The options of one kind of record, as they stand on the command line.
struct MakeArguments {
  CperSection Section;
  std::vector<std::optional<std::string>> Fields; ///< One for each of the section's fields.
  std::string SectionType;                        ///< Of a section that the driver does not know.
  std::string BodySize = "0";                     ///< Likewise.

  std::string Severity = "corrected";
  std::optional<std::string> Notification;
  std::string Revision = "0x0101";
  std::string RecordId = "1";
  std::string FruText;
  std::string File;
};

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
  Envelope.Notification = NotificationOption (
      "--notification",
      Arguments.Notification.value_or (UsualNotification (Arguments.Section, Envelope.Severity)));
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

void
RunMake (MakeArguments &Arguments)
{
  if (Arguments.Section.ErrorClass == 0) {
    Arguments.Section.Type = GuidOption ("--section-type", Arguments.SectionType);
    Arguments.Section.BodySize = NumberOption ("--body-size", Arguments.BodySize, 0, BODY_SIZE_MAX);
  }
  const CperEnvelope Envelope = ReadEnvelope (Arguments);
  WriteFile (Arguments.File, MakeCper (Arguments.Section, Envelope, ReadFields (Arguments)));
}

void
AddEnvelopeOptions (CLI::App &App, MakeArguments &Arguments)
{
  App.add_option ("--severity", Arguments.Severity,
                  "Severity of record and section: " + NamesText (CperSeverities ()) +
                      ", or a number")
      ->type_name ("SEVERITY")
      ->capture_default_str ();
  App.add_option ("--notification", Arguments.Notification,
                  "What triggered the record: " + NamesText (CperNotifications ()) +
                      "; the usual one of its kind unless given")
      ->type_name ("NAME");
  App.add_option ("--revision", Arguments.Revision, "Revision of the record, 0x0100 or 0x0101")
      ->type_name ("NUMBER")
      ->capture_default_str ();
  App.add_option ("--record-id", Arguments.RecordId, "Record id")
      ->type_name ("NUMBER")
      ->capture_default_str ();
  App.add_option ("--fru-text", Arguments.FruText, "Name of the replaceable unit, for people")
      ->type_name ("TEXT");
  App.add_option ("-o,--output", Arguments.File, "File to write")->type_name ("FILE")->required ();
}

void
AddSection (CLI::App &Make, const CperSection &Section, const std::string &Help)
{
  const auto Arguments = std::make_shared<MakeArguments> ();
  Arguments->Section = Section;
  Arguments->Fields.resize (Section.Fields.size ());
  CLI::App *App = Make.add_subcommand (Section.Name, Help);
  for (UINTN Index = 0; Index < Section.Fields.size (); ++Index) {
    const CperField &Field = Section.Fields[Index];
    App->add_option (fmt::format ("--{}", Field.Name), Arguments->Fields[Index], Field.Help)
        ->type_name ("NUMBER")
        ->required (Field.TellsDevice);
  }
  if (Section.ErrorClass == 0) {
    App->add_option ("--section-type", Arguments->SectionType, "Type of the section")
        ->type_name ("GUID")
        ->required ();
    App->add_option ("--body-size", Arguments->BodySize, "Size in bytes of its body, all zeros")
        ->type_name ("NUMBER")
        ->capture_default_str ();
  }
  AddEnvelopeOptions (*App, *Arguments);
  App->callback ([=] { RunMake (*Arguments); });
}

} // namespace

void
AddMakeCommand (CLI::App &App)
{
  CLI::App *Make = App.add_subcommand ("make", "Write an error record (CPER) from fields");
  Make->require_subcommand (1);
  for (const CperSection &Section : CperSections ()) {
    AddSection (*Make, Section, fmt::format ("A record of a {} error", Section.Name));
  }
  AddSection (*Make, OtherSection, "A record of a section that the driver does not know");
}
