/// Records in JSON: log entries of a Redfish service, alone or in collections.
#pragma once

#include <deque>

#include <nlohmann/json.hpp>

#include "RecordReader.h"

/// Whether JSON of objects begins at the first byte.
bool BeginsLikeJson (std::string_view Text);

/// JSON values, one behind the other, of which one at a time is in memory. Each string that has
/// a record, and each array of its bytes, is read as text, wherever it stands; of a log entry
/// (Redfish LogEntry 1.15.0), DiagnosticData may also be a Generic Error Status Block, or the body
/// of the section that its CPER object names.
class RedfishJson : public RecordReader {
public:
  explicit RedfishJson (ByteWindow &From) : Window (From) {}
  std::optional<FoundRecord> Next () override;

private:
  /// What a value has of a record.
  struct Entry {
    std::string Place = {};       ///< "entry 7", by the Id of the log entry.
    std::string Key = {};         ///< Of the text; empty when the log entry has none.
    std::string Text = {};        ///< The record, encoded.
    std::string Type = {};        ///< DiagnosticDataType,
    std::string SectionType = {}; ///< SectionType of the CPER object,
    std::string Severity = {};    ///< Severity,
    std::string Uri = {};         ///< and AdditionalDataURI of the log entry.
  };

  ByteWindow &Window;
  UINTN ValueCount = 0;
  std::deque<Entry> Entries;           ///< Of the last value; still to be read.
  std::unique_ptr<ByteWindow> Encoded; ///< That of the entry that is read.
  std::unique_ptr<RecordReader> Inner;
  std::string Place, Form;

  bool ReadValue ();
  void Collect (const nlohmann::json &Value, const std::string &PlaceOfOwner);
  FoundRecord Placed (FoundRecord Found) const;
  std::optional<FoundRecord> Open (const Entry &Of);
};
