/// Registers of configuration space that the boot code programs, and the way to them.
#pragma once

#include "PciCapabilities.h"
#include "PciPlace.h"
#include "PciWindow.h"
#include "Record/PciBridgeHeader.h"
#include "Record/PcieRegisters.h"

/// The header, beyond what PcieHeader has (PCI Local Bus 3.0, 6.1; PCI-to-PCI Bridge Architecture
/// 1.2, 3.2).
inline constexpr UINTN PciFirstBar = 0x10;
inline constexpr UINT32 PciBarMemoryFlags = 0xF;
inline constexpr UINTN PciBusNumbers = 0x18;
inline constexpr UINTN PciIoBaseLimit = 0x1C;
inline constexpr UINTN PciMemoryBaseLimit = 0x20;
inline constexpr UINTN PciPrefetchBaseLimit = 0x24;

inline constexpr UINT16 PciCommandEnable = 0x0107; ///< I/O, memory, bus master and SERR.
inline constexpr UINT16 PciBridgeControlSerr = 0x0002;

/// All kinds of errors, in the controls of a function and of a root port.
inline constexpr UINT16 PcieReportAllErrors = 0x000F;
inline constexpr UINT32 AerRootReportAllErrors = 0x00000007;
inline constexpr UINT32 AerRootMessageShift = 27;

/// The MSI-X capability and its table (PCI Local Bus 3.0, 6.8.2).
inline constexpr UINT8 PciCapabilityMsiX = 0x11;
inline constexpr UINTN MsiXControl = 0x02;
inline constexpr UINTN MsiXTable = 0x04;
inline constexpr UINT16 MsiXEnable = 0x8000;
inline constexpr UINT32 MsiXTableBarMask = 0x7;

struct MsiXEntry {
  UINT32 AddressLow, AddressHigh, Data, Control;
};
LAYOUT_SIZE (MsiXEntry, 16);

/// Address of a register of a function in segment 0; Offset is below 4096.
inline UINTN
RegisterOf (const PciPlace &Of, UINTN Offset)
{
  return PciRegister (Of.Bus, Of.Device, Of.Function, Offset);
}
