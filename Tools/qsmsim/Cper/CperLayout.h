/// The parts of error records by name: what `make` takes as options and `report` shows.
#pragma once

#include <span>
#include <string>

#include "Record/ErrorRecord.h"
#include "ToolOptions.h"

/// How a field's value is written for people.
enum class Notation {
  Decimal,
  Hexadecimal
};

/// One field of a section's body.
struct CperField {
  const char *Name; ///< Of the option, behind its two dashes, and in the output.
  UINTN Offset; ///< From the start of the record, in bytes; whole record as the driver reads it.
  UINTN Size;   ///< In bytes: 1 to 8.
  UINT8 ValidationBit; ///< Number of the bit in the body's ValidationBits that declares it.
  bool TellsDevice;    ///< The driver finds the device by it, so that a record needs it.
  Notation Shown;
  const char *Help;
  UINT64 Maximum = 0; ///< 0 for the largest value of the field's size.

  [[nodiscard]] UINT64 Largest () const;
};

/// The bit of a section descriptor's ValidationBits that declares FruText valid.
inline constexpr UINT8 CPER_FRU_TEXT_VALID = 0x02;

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

std::span<const CperSection> CperSections ();

/// The section of that type, or null.
const CperSection *FindCperSection (const EFI_GUID &Type);

/// What the driver reads of a record, with zeros for what the bytes do not reach.
ErrorRecord FrontOf (std::span<const UINT8> Bytes);

/// Values of ErrorSeverity and SectionSeverity.
std::span<const Named<UINT32>> CperSeverities ();

/// What a record was triggered by (UEFI 2.10, N.2.1.1).
std::span<const Named<EFI_GUID>> CperNotifications ();

/// The severity's name, or its number where it has none.
std::string CperSeverityText (UINT32 Severity);
