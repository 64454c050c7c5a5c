/// Registers of configuration space that the boot code programs, by offset, and access to them.
#pragma once

#include "PciWindow.h"

/// The header (PCI Local Bus 3.0, 6.1; PCI-to-PCI Bridge Architecture 1.2, 3.2).
inline constexpr UINTN PciVendorId = 0x00;
inline constexpr UINTN PciCommand = 0x04;
inline constexpr UINTN PciStatus = 0x06;
inline constexpr UINTN PciHeaderType = 0x0E;
inline constexpr UINTN PciFirstBar = 0x10;
inline constexpr UINTN PciBusNumbers = 0x18;
inline constexpr UINTN PciIoBaseLimit = 0x1C;
inline constexpr UINTN PciMemoryBaseLimit = 0x20;
inline constexpr UINTN PciPrefetchBaseLimit = 0x24;
inline constexpr UINTN PciCapabilityPointer = 0x34;
inline constexpr UINTN PciBridgeControl = 0x3E;

inline constexpr UINT16 PciCommandEnable = 0x0107; ///< I/O, memory, bus master and SERR.
inline constexpr UINT16 PciStatusHasCapabilities = 0x0010;
inline constexpr UINT8 PciHeaderMultiFunction = 0x80;
inline constexpr UINT8 PciHeaderBridge = 0x01;
inline constexpr UINT16 PciBridgeControlSerr = 0x0002;

/// The PCI Express capability (PCI Express Base 5.0, 7.5.3).
inline constexpr UINT8 PciCapabilityExpress = 0x10;
inline constexpr UINTN ExpressCapabilities = 0x02;
inline constexpr UINTN ExpressDeviceControl = 0x08;
inline constexpr UINTN ExpressSlotCapabilities = 0x14;
inline constexpr UINT16 ExpressHasSlot = 0x0100;
inline constexpr UINT16 ExpressReportAllErrors = 0x000F;
inline constexpr UINT32 ExpressPortTypeRoot = 4;

/// The Advanced Error Reporting capability (PCI Express Base 5.0, 7.8.4).
inline constexpr UINT16 PciExtendedCapabilityAer = 0x0001;
inline constexpr UINTN AerRootCommand = 0x2C;
inline constexpr UINTN AerRootStatus = 0x30;
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

/// Place of a function in segment 0.
struct PciAddress {
  UINTN Bus, Device, Function;
};

inline UINTN
RegisterOf (const PciAddress &Of, UINTN Offset)
{
  return PciRegister (Of.Bus, Of.Device, Of.Function, Offset);
}

extern "C" {

/// Offset of a capability, 0 without it.
UINT16 FindPciCapability (const PciAddress &Of, UINT8 Id);

/// The same for the extended capabilities.
UINT16 FindExtendedPciCapability (const PciAddress &Of, UINT16 Id);
}
