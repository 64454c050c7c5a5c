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

/// A status register of the two, and what its bits are called.
struct PcieStatus {
  const char *Name; ///< In JSON.
  const char *Title;
  UINT32 Value;
  void (*AppendNames) (std::string &Text, UINT64 Value);
};

/// Those of a section, up to four.
std::vector<PcieStatus> PcieStatuses (const CperDescription &Description);

/// The header of the packet that an uncorrectable error was about: "40000001 0000000F ...". Empty
/// if there is none.
std::string TlpHeaderText (const CperDescription &Description);
