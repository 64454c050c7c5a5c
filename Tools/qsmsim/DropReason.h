/// Why an error gives no event: one reason for each cause.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "CperFile.h"
#include "SimulatedPlatform.h"

struct DropReason {
  const char *Code; ///< For programs; docs/troubleshooting.md has all of them.
  std::string Text;
  std::string Line = {}; ///< The line of the driver's log that tells it, if there is one.
};

/// What was reported, how, and where.
struct ReportedRecord {
  const CperFile &File;
  const ReportOptions &Options;
  const SimulatedPlatform &Platform;
};

/// The reason that a line of the log tells by itself, if there is one.
std::optional<DropReason> ReasonOfLog (std::span<const std::string> Log);

/// Why a record that ends ahead of bytes which the driver reads is not reported to it.
std::optional<DropReason> WhyNotReported (const CperFile &File, const ReportOptions &Options);

/// Whether the driver takes records that are reported so.
bool IsStatusCodeOfDriver (const ReportOptions &Options);

/// Why a record has given no event, though nothing went wrong. Lost is what was sent and not taken.
DropReason WhyDropped (const ReportedRecord &Reported,
                       std::span<const std::string> Log,
                       std::span<const BmcRequest> Lost);
