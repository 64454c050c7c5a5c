/// How the outcomes of a report are written: for people or for programs.
#pragma once

#include <memory>
#include <string>

#include "Console.h"
#include "Outcome.h"

class ReportWriter {
public:
  virtual ~ReportWriter () = default;

  /// Takes the outcome of each record in turn, or that of a boot that failed.
  virtual void Take (const Outcome &Outcome) = 0;

  /// Ends the report.
  virtual void Close (const Summary &Summary) = 0;
};

/// Writes each outcome at once, and a summary of several records.
std::unique_ptr<ReportWriter> TextReport (Console &Console, bool WithLog);

/// Writes one JSON document at the end.
std::unique_ptr<ReportWriter>
JsonReport (Console &Console, bool WithLog, const std::string &Platform, UINTN Processor);
