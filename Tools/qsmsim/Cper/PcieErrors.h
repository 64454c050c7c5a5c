/// What the capability structures of a PCIe error section say (UEFI 2.10, N.2.7).
#pragma once

#include <optional>
#include <span>

#include "CperDescription.h"
#include "Record/PcieRegisters.h"

/// The PCI Express capability, if it is declared valid and there.
std::optional<PcieCapability> PcieCapabilityOf (const CperDescription &Description);

/// The Advanced Error Reporting capability, likewise.
std::optional<AerCapability> AerOf (const CperDescription &Description);

/// A status register, and what its bits are called.
struct PcieStatus {
  const char *Name; ///< In JSON.
  const char *Title;
  UINT32 Value;
  void (*AppendNames) (std::string &Text, UINT64 Value);
};

/// The device status of the first capability.
std::optional<PcieStatus> DeviceStatusOf (const CperDescription &Description);

/// The statuses of the second one; root ports and event collectors have one more.
std::vector<PcieStatus> AerStatuses (const CperDescription &Description);

/// The header of the packet that an uncorrectable error was about: "40000001 0000000F ...". Empty
/// if there is none.
std::string TlpHeaderText (const CperDescription &Description);
