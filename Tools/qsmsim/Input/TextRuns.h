/// Records within any text: an event log's XML, a log with lines of all kinds.
#pragma once

#include <string_view>

#include "RecordReader.h"

/// Whether a text has a run of characters that begins like a record.
bool HasRun (std::string_view Text);

/// A run that begins with the signature of a record, in hexadecimal digits (blanks, line ends or
/// other separators among them) or in base64, is a record, up to its RecordLength or the end of the
/// run. Behind an offset it is the front of a hex dump, with the records that are in that.
class TextRuns : public RecordReader {
public:
  struct RunKind;

  explicit TextRuns (ByteWindow &From) : Window (From) {}
  std::optional<FoundRecord> Next () override;

private:
  ByteWindow &Window;
  UINTN Count = 0;
  UINT64 Offset = 0;                     ///< Of the run or dump that is read.
  std::unique_ptr<ByteWindow> DumpBytes; ///< Those of the dump that is read,
  std::unique_ptr<RecordReader> Dump;    ///< and its reader; null when none is.

  const RunKind *FindNext ();
  FoundRecord Placed (std::vector<UINT8> Bytes, const char *Form);
};
