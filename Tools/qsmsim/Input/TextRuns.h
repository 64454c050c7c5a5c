/// Records within any text: an event log's XML, a log with lines of all kinds.
#pragma once

#include "RecordReader.h"

/// A run that begins with the signature of a record, in hexadecimal digits (blanks and line ends
/// among them) or in base64, is a record, up to its RecordLength or the end of the run.
class TextRuns : public RecordReader {
public:
  explicit TextRuns (ByteWindow &From) : Window (From) {}
  std::optional<FoundRecord> Next () override;

private:
  ByteWindow &Window;
  UINTN Count = 0;
};
