#include "Options.h"

#include <algorithm>
#include <limits>

#include <fmt/format.h>

#include "Guid.h"
#include "InputFile.h"

UINT32
SeverityOption (const std::string &Option, const std::string &Text)
{
  if (const UINT32 *Severity = FindNamed (CperSeverities (), Text)) {
    return *Severity;
  }
  const auto Number = ParseNumber (Text);
  if (!Number || *Number > std::numeric_limits<UINT32>::max ()) {
    RefuseOption (Option, NamesText (CperSeverities ()) + " or a number of 32 bits", Text);
  }
  return static_cast<UINT32> (*Number);
}

EFI_GUID
GuidOption (const std::string &Option, const std::string &Text)
{
  const auto Guid = ParseGuid (Text);
  if (!Guid) {
    RefuseOption (Option, "a GUID like " + GuidText (gEfiPcieErrorSectionGuid), Text);
  }
  return *Guid;
}

std::string
TextOption (const std::string &Option, const std::string &Text, UINTN LengthMax)
{
  if (Text.size () > LengthMax || !IsPrintableAscii (Text)) {
    RefuseOption (Option, fmt::format ("at most {} printable ASCII characters", LengthMax), Text);
  }
  return Text;
}

std::pair<UINT8, UINT8>
CmosOption (const std::string &Option, const std::string &Text)
{
  const std::size_t Sign = std::min (Text.find ('='), Text.size ());
  const auto Offset = ParseNumber (Text.substr (0, Sign));
  const auto Byte = ParseNumber (Text.substr (std::min (Sign + 1, Text.size ())));
  constexpr UINT64 Max = std::numeric_limits<UINT8>::max ();
  if (!Offset || !Byte || *Offset > Max || *Byte > Max) {
    RefuseOption (Option, fmt::format ("OFFSET=VALUE, numbers from 0 to {}", Max), Text);
  }
  return {static_cast<UINT8> (*Offset), static_cast<UINT8> (*Byte)};
}

PlatformDescription
PlatformOption (const std::string &File)
{
  return File.empty () ? BuiltInPlatform () : LoadPlatformDescription (File);
}
