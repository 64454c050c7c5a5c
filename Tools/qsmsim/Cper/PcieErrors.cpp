#include "PcieErrors.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "FieldMeaning.h"

namespace {

constexpr UINT8 CAPABILITY_VALID = 6;
constexpr UINT8 AER_VALID = 7;

/// Bits of the root error status that are errors; the highest ones number an interrupt.
constexpr UINT32 ROOT_ERRORS = 0x7F;

static_assert (sizeof (PcieCapability) == sizeof (EFI_PCIE_ERROR_DATA::CapabilityStructure));
static_assert (sizeof (AerCapability) <= sizeof (EFI_PCIE_ERROR_DATA::AerInfo));

constexpr Named<UINT64> DeviceStatusBits[] = {
    {"correctable error", 0},   {"non-fatal error", 1}, {"fatal error", 2},
    {"unsupported request", 3}, {"AUX power", 4},       {"transactions pending", 5},
};

constexpr Named<UINT64> UncorrectableErrors[] = {
    {"data link protocol error", 4},
    {"surprise down", 5},
    {"poisoned TLP received", 12},
    {"flow control protocol error", 13},
    {"completion timeout", 14},
    {"completer abort", 15},
    {"unexpected completion", 16},
    {"receiver overflow", 17},
    {"malformed TLP", 18},
    {"ECRC error", 19},
    {"unsupported request", 20},
    {"ACS violation", 21},
    {"uncorrectable internal error", 22},
    {"MC blocked TLP", 23},
    {"AtomicOp egress blocked", 24},
    {"TLP prefix blocked", 25},
    {"poisoned TLP egress blocked", 26},
    {"DMWr request egress blocked", 27},
    {"IDE check failed", 28},
    {"misrouted IDE TLP", 29},
    {"PCRC check failed", 30},
};

constexpr Named<UINT64> CorrectableErrors[] = {
    {"receiver error", 0},
    {"bad TLP", 6},
    {"bad DLLP", 7},
    {"replay number rollover", 8},
    {"replay timer timeout", 12},
    {"advisory non-fatal error", 13},
    {"corrected internal error", 14},
    {"header log overflow", 15},
};

constexpr Named<UINT64> RootErrors[] = {
    {"correctable received", 0},         {"several correctable received", 1},
    {"fatal or non-fatal received", 2},  {"several fatal or non-fatal received", 3},
    {"first uncorrectable is fatal", 4}, {"non-fatal messages received", 5},
    {"fatal messages received", 6},
};

/// The structure at an offset of a PCIe section's body, if a bit declares it valid and it is there.
template <typename Structure>
std::optional<Structure>
StructureAt (const CperDescription &Description, UINTN Offset, UINT8 ValidationBit)
{
  const std::span<const UINT8> Body = Description.Body;
  if (Description.Kind != &PcieSection || (CperValidationBits (Body) >> ValidationBit & 1) == 0 ||
      Body.size () < Offset + sizeof (Structure)) {
    return std::nullopt;
  }
  Structure Result;
  std::memcpy (&Result, Body.data () + Offset, sizeof (Result));
  return Result;
}

} // namespace

std::optional<PcieCapability>
PcieCapabilityOf (const CperDescription &Description)
{
  return StructureAt<PcieCapability> (
      Description, offsetof (EFI_PCIE_ERROR_DATA, CapabilityStructure), CAPABILITY_VALID);
}

std::optional<AerCapability>
AerOf (const CperDescription &Description)
{
  return StructureAt<AerCapability> (Description, offsetof (EFI_PCIE_ERROR_DATA, AerInfo),
                                     AER_VALID);
}

std::optional<PcieStatus>
DeviceStatusOf (const CperDescription &Description)
{
  const auto Capability = PcieCapabilityOf (Description);
  if (!Capability) {
    return std::nullopt;
  }
  return PcieStatus{"deviceStatus", "device status", Capability->DeviceStatus,
                    AppendBits<DeviceStatusBits>};
}

std::vector<PcieStatus>
AerStatuses (const CperDescription &Description)
{
  std::vector<PcieStatus> Statuses;
  if (const auto Aer = AerOf (Description)) {
    Statuses.push_back ({"uncorrectable", "AER uncorrectable", Aer->UncorrectableStatus,
                         AppendBits<UncorrectableErrors>});
    Statuses.push_back (
        {"correctable", "AER correctable", Aer->CorrectedStatus, AppendBits<CorrectableErrors>});
    const UINT64 PortType = ValueOf (Description.Fields, "port-type").value_or (0);
    if (PortType == PciePortTypeRootPort || PortType == PciePortTypeEventCollector) {
      Statuses.push_back (
          {"root", "AER root", Aer->RootErrorStatus & ROOT_ERRORS, AppendBits<RootErrors>});
    }
  }
  return Statuses;
}

std::string
TlpHeaderText (const CperDescription &Description)
{
  const auto Aer = AerOf (Description);
  UINT32 Log[4] = {};
  if (Aer) {
    std::memcpy (Log, &Aer->HeaderLog, sizeof (Log));
  }
  return std::ranges::count (Log, 0U) != std::ssize (Log)
             ? fmt::format ("{:08X} {:08X} {:08X} {:08X}", Log[0], Log[1], Log[2], Log[3])
             : std::string ();
}
