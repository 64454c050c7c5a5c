/// The commands of the tool, behind the command line. Arguments stand as they were given; each
/// command checks all of them before it does anything, and throws InputError for bad input.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Console.h"
#include "CperLayout.h"

/// Ending of record files in a directory.
inline constexpr const char *RECORD_SUFFIX = ".cper";

struct MakeArguments {
  CperSection Section; ///< Of error class 0: one whose type and size are arguments.
  std::string SectionType, BodySize = "0";
  std::vector<std::optional<std::string>> Fields; ///< One for each of the section's fields.

  std::string Severity = "corrected";
  std::optional<std::string> Notification;
  std::string Revision = "0x0101";
  std::string RecordId = "1";
  std::string FruText;
  std::string File; ///< Where the record goes. Not left behind if it cannot be written.
};

void RunMake (const MakeArguments &Arguments);

/// What boots.
struct BootArguments {
  std::string PlatformFile;
  std::vector<std::string> Cmos; ///< "OFFSET=VALUE" each, over what the platform's file has.
  std::string Driver;
  std::string DriverCount = "1";
  std::string Stage = "locked"; ///< By name: how far the boot goes.
};

/// What goes wrong on the platform.
struct FailureArguments {
  std::optional<std::string> StatusCode; ///< "TYPE:VALUE": by which records are reported.
  std::optional<std::string> BmcAnswer;
  std::string Inventory = "described"; ///< When it is there, by name.
  bool PoolExhausted = false;
};

struct ReportArguments {
  std::vector<std::string> Records; ///< Files, directories, "-".
  BootArguments Boot;
  FailureArguments Failures;
  std::string Processor = "0";
  bool Json = false;
  bool JsonLines = false;
  bool Quiet = false;
  bool Raw = false;
  bool Strict = false; ///< A record without an event is a fault.
  bool Dot = false;    ///< Text for Graphviz in place of all other output.
};

/// Input that is no record is complained of on standard error, and the others are reported. Returns
/// the exit code.
int RunReport (const ReportArguments &Arguments, Console &Console);

struct DecodeArguments {
  std::vector<std::string> Words; ///< One text, as the shell has parted it.
  bool Json = false;
  bool Redfish = false;
};

/// Prints what an event says.
void RunDecode (const DecodeArguments &Arguments, Console &Console);

struct ShowArguments {
  BootArguments Boot; ///< Of which the inventory needs the platform only.
  bool Json = false;
  bool Dot = false; ///< Text for Graphviz in place of either.
};

void RunShowInventory (const ShowArguments &Arguments, Console &Console);

struct BootResult;
struct BootView;

/// Something that a boot leaves, and how it is seen.
struct ShowTopic {
  const char *Name, *Help;
  BootView (*View) (const BootResult &Booted);
  bool HasPicture = false; ///< Then it is also shown for Graphviz.
};

std::span<const ShowTopic> ShowTopics ();

/// Boots, and shows what the boot has left, also one that has ended in a fault. Returns the exit
/// code.
int RunShow (const ShowTopic &Topic, const ShowArguments &Arguments, Console &Console);
