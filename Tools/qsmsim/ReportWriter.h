/// How the outcomes of a report are written: for people or for programs.
#pragma once

#include <memory>

#include "Console.h"
#include "CperFile.h"
#include "RecordDecoder.h"
#include "Summary.h"

/// What the record of a file says, and what the file's form leaves open.
inline CperDescription
DescribeFile (const RecordDecoder &Decoder, const CperFile &File)
{
  CperDescription Description = Decoder.Describe (File.Bytes);
  Description.Notes.insert (Description.Notes.end (), File.Notes.begin (), File.Notes.end ());
  return Description;
}

class ReportWriter {
public:
  virtual ~ReportWriter () = default;

  /// Takes the outcome of each record in turn, or that of a boot that failed.
  virtual void Take (const Outcome &Outcome) = 0;

  /// Ends the report.
  virtual void Close (const Summary &Summary) = 0;
};

/// Writes each outcome at once, and a summary of several records. The decoder stays the caller's.
std::unique_ptr<ReportWriter>
TextReport (Console &Console, const RecordDecoder &Decoder, bool WithLog);

/// Writes one line of JSON for each record at once, and one with the summary at the end.
std::unique_ptr<ReportWriter>
JsonLinesReport (Console &Console, const RecordDecoder &Decoder, bool WithLog);

/// Writes one JSON document at the end.
std::unique_ptr<ReportWriter>
JsonReport (Console &Console, const RecordDecoder &Decoder, bool WithLog);

/// Writes a picture of the platform for Graphviz at the end, with the devices that were blamed, and
/// faults on standard error.
std::unique_ptr<ReportWriter> DotReport (Console &Console, const PlatformDescription &Platform);
