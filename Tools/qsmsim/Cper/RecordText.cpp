#include "RecordText.h"

#include <fmt/format.h>

#include "Guid.h"

namespace {

std::string
KindText (const CperDescription &Description)
{
  const std::string Kind =
      Description.Section != nullptr
          ? fmt::format ("{} error", Description.Section->Name)
          : fmt::format ("section of unknown type {}", GuidText (Description.SectionType));
  return fmt::format ("{}, {}", Kind, CperSeverityText (Description.Severity));
}

std::string
FieldsText (const CperDescription &Description)
{
  std::string Text;
  for (const auto &[Field, Value] : Description.Fields) {
    const std::string Number = Field->Shown == Notation::Decimal ? fmt::format ("{}", Value)
                                                                 : fmt::format ("0x{:X}", Value);
    Text += fmt::format ("{}{} {}", Text.empty () ? "" : ", ", Field->Name, Number);
  }
  return Text;
}

} // namespace

void
PrintRecord (Console &Console, const std::string &Name, const CperDescription &Description)
{
  Console.Out << Coloured (Console, Colour::Bold, Name) << ": " << KindText (Description) << "\n";
  if (!Description.Fields.empty ()) {
    Console.Out << "  " << FieldsText (Description) << "\n";
  }
  if (!Description.FruText.empty ()) {
    Console.Out << "  FRU \"" << Description.FruText << "\"\n";
  }
  for (const std::string &Note : Description.Notes) {
    Console.Out << "  " << Coloured (Console, Colour::Yellow, "note: " + Note) << "\n";
  }
}
