#include "CompletionCode.h"

#include <algorithm>

#include <fmt/format.h>

#include "ToolOptions.h"

namespace {

constexpr Named<UINT8> Codes[] = {
    {"completed normally", CompletionNormal},
    {"node busy", 0xC0},
    {"invalid command", CompletionInvalidCommand},
    {"command invalid for this LUN", CompletionInvalidForLun},
    {"timeout while processing the command", 0xC3},
    {"out of space", CompletionOutOfSpace},
    {"reservation canceled or invalid", 0xC5},
    {"request data truncated", 0xC6},
    {"request data length invalid", CompletionDataLengthInvalid},
    {"request data field too long", 0xC8},
    {"parameter out of range", 0xC9},
    {"cannot return that many bytes", 0xCA},
    {"requested object not present", 0xCB},
    {"invalid data field", CompletionDataFieldInvalid},
    {"illegal for this sensor or record", 0xCD},
    {"no response could be provided", 0xCE},
    {"duplicated request", 0xCF},
    {"SDR repository in update mode", 0xD0},
    {"firmware update mode", 0xD1},
    {"initialization in progress", 0xD2},
    {"destination unavailable", 0xD3},
    {"insufficient privilege", 0xD4},
    {"not supported in this state", 0xD5},
    {"subfunction disabled", 0xD6},
    {"unspecified error", CompletionUnspecified},
};

} // namespace

std::string
CompletionCodeText (UINT8 Code)
{
  return fmt::format ("0x{:02X}, {}", Code, CompletionCodeName (Code));
}

std::string
CompletionCodeName (UINT8 Code)
{
  if (const char *Name = NameOf<UINT8> (Codes, Code)) {
    return Name;
  }
  if (Code <= 0x7E) {
    return "device-specific code";
  }
  return Code >= 0x80 && Code <= 0xBE ? "command-specific code" : "reserved code";
}

std::optional<UINT8>
FindCompletionCode (const std::string &Name)
{
  std::string Spelt = Name;
  std::ranges::replace (Spelt, '-', ' ');
  const UINT8 *Found = FindNamed<UINT8> (Codes, Spelt);
  return Found != nullptr ? std::optional (*Found) : std::nullopt;
}
