/// The parts of error records by name: what `make` takes as options and `report` shows.
#pragma once

#include <span>
#include <string>

#include "Record/ErrorRecord.h"
#include "ToolOptions.h"

/// How a field's value is written for people.
enum class Notation {
  Decimal,
  Hexadecimal,
  Meaning, ///< By its meaning alone.
};

/// Where the driver reads the body of the first section.
inline constexpr UINTN BODY_READ_OFFSET = offsetof (ErrorRecord, Memory);

/// One field of a section's body.
struct CperField {
  /// What few fields need.
  struct Details {
    UINT64 Maximum = 0; ///< 0 for the largest value that there is room for.
    UINT8 Shift = 0;    ///< Number of its lowest bit,
    UINT8 Bits = 0;     ///< and how many it has; 0 for all.

    /// Appends what a value means; null where the number says all.
    void (*Meaning) (std::string &Text, UINT64 Value) = nullptr;
  };

  const char *Name;    ///< Of the option, behind its two dashes, and in the output.
  UINTN Offset;        ///< From the start of the body, in bytes.
  UINTN Size;          ///< In bytes: 1 to 8.
  UINT8 ValidationBit; ///< Number of the bit in the body's ValidationBits that declares it.
  bool TellsDevice;    ///< The driver finds the device by it, so that a record needs it.
  Notation Shown;
  const char *Help;
  Details Form = {};

  [[nodiscard]] UINT64 Largest () const;

  /// Least number of hexadecimal digits: all of a field of up to 3 bytes.
  [[nodiscard]] constexpr UINTN
  Digits () const
  {
    return Size <= 3 ? 2 * Size : 1;
  }

  /// The value in a body that has all of the field.
  UINT64 Read (const UINT8 *Body) const;

  /// Sets the bits of a value in a body that has zeros there.
  void Write (UINT8 *Body, UINT64 Value) const;

private:
  [[nodiscard]] UINT64 Mask () const;
};

/// Details of fields, for their tables.
/// @{
constexpr CperField::Details
Means (void (*Meaning) (std::string &, UINT64))
{
  return {.Meaning = Meaning};
}

constexpr CperField::Details
UpTo (UINT64 Maximum)
{
  return {.Maximum = Maximum};
}

constexpr CperField::Details
BitsFrom (UINT8 Shift, UINT8 Bits)
{
  return {.Shift = Shift, .Bits = Bits};
}
/// @}

/// Bits of a section descriptor's ValidationBits, and of a record header's.
inline constexpr UINT8 CPER_FRU_ID_VALID = 0x01;
inline constexpr UINT8 CPER_FRU_TEXT_VALID = 0x02;
inline constexpr UINT32 CPER_PLATFORM_ID_VALID = 0x01;
inline constexpr UINT32 CPER_TIME_STAMP_VALID = 0x02;
inline constexpr UINT32 CPER_PARTITION_ID_VALID = 0x04;

/// One kind of section that the driver knows, as the published layout has it.
struct CperSection {
  const char *Name = nullptr; ///< "memory", "pcie" or "processor".
  UINT8 ErrorClass = 0;       ///< An enum ErrorClass.
  EFI_GUID Type = {};
  UINTN BodySize = 0; ///< In bytes.
  std::span<const CperField> Fields = {};

  /// Number of bytes of a record that the driver may read.
  [[nodiscard]] UINTN ReadSize () const;
};

/// The layouts, each with the names of its values.
extern constinit const CperSection MemorySection, PcieSection, ProcessorSection;

std::span<const CperSection *const> CperSections ();

/// The section of that type, or null.
const CperSection *FindCperSection (const EFI_GUID &Type);

/// Values of ErrorSeverity and SectionSeverity.
std::span<const Named<UINT32>> CperSeverities ();

/// What a record was triggered by (UEFI 2.10, N.2.1.1).
std::span<const Named<EFI_GUID>> CperNotifications ();

/// The severity's name, or its number where it has none.
std::string CperSeverityText (UINT32 Severity);
