#include "CperLayout.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "Identity.h"

namespace {

constexpr const CperSection *Sections[] = {&MemorySection, &PcieSection, &ProcessorSection};

constexpr Named<UINT32> Severities[] = {
    {"recoverable", CperSeverityRecoverable},
    {"fatal", CperSeverityFatal},
    {"corrected", CperSeverityCorrected},
    {"informational", CperSeverityInformational},
};

constexpr Named<EFI_GUID> Notifications[] = {
    {"cmc", gEfiEventNotificationTypeCmcGuid},
    {"cpe", {0x4E292F96, 0xD843, 0x4A55, {0xA8, 0xC2, 0xD4, 0x81, 0xF2, 0x7E, 0xBE, 0xEE}}},
    {"mce", gEfiEventNotificationTypeMceGuid},
    {"pcie", gEfiEventNotificationTypePcieGuid},
    {"init", {0xCC5263E8, 0x9308, 0x454A, {0x89, 0xD0, 0x34, 0x0B, 0xD3, 0x9B, 0xC9, 0x8E}}},
    {"nmi", {0x5BAD89FF, 0xB7E6, 0x42C9, {0x81, 0x4A, 0xCF, 0x24, 0x85, 0xD6, 0xE9, 0x8A}}},
    {"boot", {0x3D61A466, 0xAB40, 0x409A, {0xA6, 0x98, 0xF3, 0x62, 0xD4, 0x64, 0xB3, 0x8F}}},
    {"dmar", {0x667DD791, 0xC6B3, 0x4C27, {0x8A, 0x6B, 0x0F, 0x8E, 0x72, 0x2D, 0xEB, 0x41}}},
    {"sea", {0x9A78788A, 0xBBE8, 0x11E4, {0x80, 0x9E, 0x67, 0x61, 0x1E, 0x5D, 0x46, 0xB0}}},
    {"sei", {0x5C284C81, 0xB0AE, 0x4E87, {0xA3, 0x22, 0xB0, 0x4C, 0x85, 0x62, 0x43, 0x23}}},
    {"pei", {0x09A9D5AC, 0x5204, 0x4214, {0x96, 0xE5, 0x94, 0x99, 0x2E, 0x75, 0x2B, 0xCD}}},
    {"cxl", {0x69293BC9, 0x41DF, 0x49A3, {0xB4, 0xBD, 0x4F, 0xB0, 0xDB, 0x30, 0x41, 0xF6}}},
};

} // namespace

UINT64
CperField::Mask () const
{
  return ~UINT64{0} >> (64 - (Form.Bits != 0 ? Form.Bits : 8 * Size));
}

UINT64
CperField::Read (const UINT8 *Body) const
{
  UINT64 Value = 0;
  std::memcpy (&Value, Body + Offset, Size);
  return Value >> Form.Shift & Mask ();
}

void
CperField::Write (UINT8 *Body, UINT64 Value) const
{
  UINT64 Whole = 0;
  std::memcpy (&Whole, Body + Offset, Size);
  Whole |= Value << Form.Shift;
  std::memcpy (Body + Offset, &Whole, Size);
}

UINT64
CperField::Largest () const
{
  return Form.Maximum != 0 ? Form.Maximum : Mask ();
}

UINTN
CperSection::ReadSize () const
{
  UINTN End = 0;
  for (const CperField &Field : Fields) {
    if (Field.TellsDevice) {
      End = std::max (End, Field.Offset + Field.Size);
    }
  }
  return BODY_READ_OFFSET + End;
}

std::span<const CperSection *const>
CperSections ()
{
  return Sections;
}

const CperSection *
FindCperSection (const EFI_GUID &Type)
{
  const auto *Found = std::ranges::find_if (
      Sections, [&] (const CperSection *Section) { return IsSameGuid (Section->Type, Type); });
  return Found != std::end (Sections) ? *Found : nullptr;
}

std::span<const Named<UINT32>>
CperSeverities ()
{
  return Severities;
}

std::span<const Named<EFI_GUID>>
CperNotifications ()
{
  return Notifications;
}

std::string
CperSeverityText (UINT32 Severity)
{
  const auto *Found = std::ranges::find (Severities, Severity, &Named<UINT32>::Of);
  return Found != std::end (Severities) ? Found->Name : fmt::format ("severity {}", Severity);
}
