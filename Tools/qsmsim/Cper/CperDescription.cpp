#include "CperDescription.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "Identity.h"

namespace {

/// Bit that declares a processor section's brand string.
constexpr UINT8 BRAND_VALID = 7;

/// Row bits of the field that has the lower ones.
constexpr UINT8 ROW_BITS = 16;

/// A text of a fixed size, up to its NUL if it has one.
std::string
PrintableText (const CHAR8 *Start, std::size_t Size)
{
  std::string Text (Start, strnlen (Start, Size));
  std::ranges::replace_if (
      Text, [] (char Character) { return Character < ' ' || Character > '~'; }, '?');
  return Text;
}

} // namespace

UINT64
CperValidationBits (std::span<const UINT8> Body)
{
  UINT64 Bits = 0;
  if (Body.size () >= sizeof (Bits)) {
    std::memcpy (&Bits, Body.data (), sizeof (Bits));
  }
  return Bits;
}

std::optional<UINT64>
ValueOf (std::span<const CperDescription::FieldValue> Values, std::string_view Name)
{
  for (const auto &[Field, Value] : Values) {
    if (Field->Name == Name) {
      return Value;
    }
  }
  return std::nullopt;
}

std::optional<DevicePlace>
PlaceOf (std::span<const CperDescription::FieldValue> Values)
{
  DevicePlace Place = {};
  UINTN Count = 0;
  for (const auto &[Field, Value] : Values) {
    if (Field->TellsDevice && Value) {
      Place.at (Count++) = *Value;
    }
  }
  return Count == Place.size () ? std::optional (Place) : std::nullopt;
}

std::string
FruTextOf (const CperSectionDescriptor &Descriptor)
{
  return (Descriptor.ValidationBits & CPER_FRU_TEXT_VALID) != 0
             ? PrintableText (Descriptor.FruText, sizeof (Descriptor.FruText))
             : std::string ();
}

std::string
BrandOf (const CperDescription &Description)
{
  constexpr UINTN Offset = offsetof (EFI_PROCESSOR_GENERIC_ERROR_DATA, BrandString);
  constexpr UINTN Size = sizeof (EFI_PROCESSOR_GENERIC_ERROR_DATA::BrandString);
  const std::span<const UINT8> Body = Description.Body;
  if (Description.Kind != &ProcessorSection || Body.size () < Offset + Size ||
      (CperValidationBits (Body) >> BRAND_VALID & 1) == 0) {
    return {};
  }
  return PrintableText (reinterpret_cast<const CHAR8 *> (Body.data ()) + Offset, Size);
}

std::string
PciPlaceText (std::span<const CperDescription::FieldValue> Values)
{
  const auto Bus = ValueOf (Values, "bus");
  const auto Device = ValueOf (Values, "device");
  const auto Function = ValueOf (Values, "function");
  return Bus && Device && Function ? fmt::format ("{:02X}:{:02X}.{}", *Bus, *Device, *Function)
                                   : std::string ();
}

std::optional<UINT64>
WholeRow (std::span<const CperDescription::FieldValue> Values)
{
  const auto Row = ValueOf (Values, "row");
  const auto Extension = ValueOf (Values, "row-extension");
  return Row && Extension ? std::optional (*Extension << ROW_BITS | *Row) : std::nullopt;
}

bool
IsZero (const EFI_GUID &Guid)
{
  return IsSameGuid (Guid, EFI_GUID{});
}
