#include "Guid.h"

#include <fmt/compile.h>

#include "InputFile.h"

namespace {

/// Lengths, in digits, of the groups between the dashes.
constexpr std::size_t GroupLengths[] = {8, 4, 4, 4, 12};

} // namespace

std::string
GuidText (const EFI_GUID &Guid)
{
  const UINT8 *Tail = Guid.Data4;
  return fmt::format (
      FMT_COMPILE ("{:08X}-{:04X}-{:04X}-{:02X}{:02X}-{:02X}{:02X}{:02X}{:02X}{:02X}{:02X}"),
      Guid.Data1, Guid.Data2, Guid.Data3, Tail[0], Tail[1], Tail[2], Tail[3], Tail[4], Tail[5],
      Tail[6], Tail[7]);
}

std::optional<EFI_GUID>
ParseGuid (std::string_view Text)
{
  if (Text.starts_with ('{') && Text.ends_with ('}')) {
    Text = Text.substr (1, Text.size () - 2);
  }
  uint64_t Groups[std::size (GroupLengths)] = {};
  for (std::size_t Index = 0; Index < std::size (GroupLengths); ++Index) {
    const bool IsLast = Index + 1 == std::size (GroupLengths);
    const std::size_t Length = GroupLengths[Index];
    if (Text.size () < Length || (IsLast ? Text.size () != Length : Text[Length] != '-')) {
      return std::nullopt;
    }
    const auto Group = ParseNumber ("0x" + std::string (Text.substr (0, Length)));
    if (!Group) {
      return std::nullopt;
    }
    Groups[Index] = *Group;
    Text.remove_prefix (IsLast ? Length : Length + 1);
  }
  EFI_GUID Guid = {static_cast<UINT32> (Groups[0]),
                   static_cast<UINT16> (Groups[1]),
                   static_cast<UINT16> (Groups[2]),
                   {}};
  const uint64_t Tail = Groups[3] << 48 | Groups[4];
  for (UINTN Index = 0; Index < sizeof (Guid.Data4); ++Index) {
    Guid.Data4[Index] = static_cast<UINT8> (Tail >> (56 - 8 * Index));
  }
  return Guid;
}
