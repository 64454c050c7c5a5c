/// All records that the arguments of a command name.
#pragma once

#include "CperFile.h"
#include "InputFiles.h"
#include "RecordReader.h"

class RecordSource {
public:
  /// Raw: each file is one record, whatever its bytes. Tied, where the records' outcomes go, is
  /// flushed before a read that may wait.
  RecordSource (const std::vector<std::string> &Arguments, bool Raw, std::ostream &Tied)
      : Files (Arguments), IsRaw (Raw), Output (Tied)
  {
  }

  /// The next record, or none at the end. Throws InputError for a file, or a piece of one, that
  /// should be a record and is not, or lacks bytes that the driver reads; the next call goes on
  /// behind it. A file that is neither named by the user nor named as records are may hold
  /// anything else, but no broken record. Memory does not grow with the number of records.
  std::optional<CperFile> Next ();

private:
  InputFiles Files;
  bool IsRaw;
  std::ostream &Output;
  std::string Name;                     ///< Of the file that is open,
  std::unique_ptr<ByteWindow> Window;   ///< its bytes,
  std::unique_ptr<RecordReader> Reader; ///< and its reader; null when none is open.
  bool MustHaveRecord = false;
  bool HasRecord = false;

  void Open (const InputFiles::File &File);
  std::optional<CperFile> NextOfFile ();
  [[noreturn]] void ComplainOf (const InputError &Error);
};
