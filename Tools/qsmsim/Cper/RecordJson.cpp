#include "RecordJson.h"

#include "Guid.h"

nlohmann::ordered_json
RecordJson (const std::string &Name, const CperDescription &Description)
{
  nlohmann::ordered_json Result;
  Result["file"] = Name;
  Result["class"] = nullptr;
  if (Description.Section != nullptr) {
    Result["class"] = Description.Section->Name;
  }
  Result["sectionType"] = GuidText (Description.SectionType);
  Result["severity"] = CperSeverityText (Description.Severity);
  Result["fields"] = nlohmann::ordered_json::object ();
  for (const auto &[Field, Value] : Description.Fields) {
    Result["fields"][Field->Name] = Value;
  }
  Result["fruText"] = Description.FruText;
  Result["notes"] = Description.Notes;
  return Result;
}
