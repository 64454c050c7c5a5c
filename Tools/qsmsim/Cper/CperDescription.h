/// What an error record says.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "CperLayout.h"
#include "DevicePlace.h"

/// Something that leads to no blame, or may lead to a wrong one.
struct CperNote {
  const char *Code; ///< Words with dashes, for programs. Stays the same.
  std::string Text;
};

/// Refers to the record's bytes.
struct CperDescription {
  /// One field that is declared valid, or by which the driver finds the device.
  struct FieldValue {
    const CperField *Field;
    std::optional<UINT64> Value; ///< None where the bytes end before it.
  };

  /// One section, of which the bytes may have the front alone.
  struct SectionEntry {
    CperSectionDescriptor Descriptor; ///< Zeros for what is not there.
    UINTN DescriptorSize;             ///< How many bytes of it there are,
    UINTN BodySize;                   ///< and of the body.
    std::optional<DevicePlace> Place; ///< Of a known type, where the body declares all of it.

    /// Whether there is all of a member of the descriptor, by its offset and size.
    [[nodiscard]] bool
    Has (UINTN Offset, UINTN Size) const
    {
      return Offset + Size <= DescriptorSize;
    }
  };

  CperRecordHeader Header;            ///< Zeros for what is not there.
  std::vector<SectionEntry> Sections; ///< Those of which there is any byte, and the first.

  /// Of the first section.
  /// @{
  const CperSection *Kind;             ///< Null for a type that the driver does not know.
  std::span<const UINT8> Body;         ///< As far as there are bytes of it.
  std::vector<FieldValue> Fields;      ///< Of the body, where the record has it.
  std::vector<FieldValue> DriverReads; ///< What the driver reads, if it looks elsewhere.
  /// @}

  std::vector<CperNote> Notes;

  /// The fields from which the driver takes the place of the device, perhaps among others.
  [[nodiscard]] const std::vector<FieldValue> &
  Read () const
  {
    return DriverReads.empty () ? Fields : DriverReads;
  }
};

/// Whether a section has all of a member of its descriptor.
#define CPER_HAS(Section, Member) \
  (Section).Has (offsetof (CperSectionDescriptor, Member), sizeof (CperSectionDescriptor::Member))

/// The ValidationBits with which the body of each section starts; none if it is not there.
UINT64 CperValidationBits (std::span<const UINT8> Body);

/// The value of a field by its name, if the values have it.
std::optional<UINT64> ValueOf (std::span<const CperDescription::FieldValue> Values,
                               std::string_view Name);

/// The place of the device as it stands there, if the values have all of it.
std::optional<DevicePlace> PlaceOf (std::span<const CperDescription::FieldValue> Values);

/// The name of the replaceable unit as far as the record has it, with '?' for what cannot be
/// printed; empty unless declared valid.
std::string FruTextOf (const CperSectionDescriptor &Descriptor);

/// The brand string of a processor section, likewise.
std::string BrandOf (const CperDescription &Description);

/// "80:03.0" of a PCI place, empty if the values have none.
std::string PciPlaceText (std::span<const CperDescription::FieldValue> Values);

/// The row of a memory section with its extension, if the values have both.
std::optional<UINT64> WholeRow (std::span<const CperDescription::FieldValue> Values);

/// Whether an identifier is not given.
bool IsZero (const EFI_GUID &Guid);
