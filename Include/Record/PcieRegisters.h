/// Configuration registers of a PCI Express function, as far as error records tell them (PCI
/// Express Base 6.0, 7.5.1, 7.5.3 and 7.8.4).
#pragma once

#include "Base.h"

/// The head of configuration space. Of a bridge's fields there are those of its errors.
struct [[gnu::packed]] PcieHeader {
  UINT16 VendorId; ///< All ones where there is no function.
  UINT16 DeviceId;
  UINT16 Command;
  UINT16 Status;
  UINT8 RevisionId;
  UINT8 ClassCode[3];
  UINT8 Reserved0[2];
  UINT8 HeaderType;
  UINT8 Reserved1[10];
  UINT8 SecondaryBus;
  UINT8 Reserved2[4];
  UINT16 SecondaryStatus;
  UINT8 Reserved3[20];
  UINT8 CapabilitiesPointer;
  UINT8 Reserved4[9];
  UINT16 BridgeControl;
};
LAYOUT_OFFSET (PcieHeader, Command, 0x04);
LAYOUT_OFFSET (PcieHeader, Status, 0x06);
LAYOUT_OFFSET (PcieHeader, ClassCode, 0x09);
LAYOUT_OFFSET (PcieHeader, HeaderType, 0x0E);
LAYOUT_OFFSET (PcieHeader, SecondaryBus, 0x19);
LAYOUT_OFFSET (PcieHeader, SecondaryStatus, 0x1E);
LAYOUT_OFFSET (PcieHeader, CapabilitiesPointer, 0x34);
LAYOUT_OFFSET (PcieHeader, BridgeControl, 0x3E);
LAYOUT_SIZE (PcieHeader, 0x40);

inline constexpr UINT16 PCI_STATUS_CAPABILITIES_LIST = 0x0010;

/// The PCI Express capability. The first version has no more than the fields that are named here.
struct [[gnu::packed]] PcieCapability {
  UINT8 Id;
  UINT8 Next;
  UINT16 Capabilities; ///< Version in bits 3 to 0, port type in bits 7 to 4, slot in bit 8.
  UINT32 DeviceCapabilities;
  UINT16 DeviceControl;
  UINT16 DeviceStatus;
  UINT8 Link[8];
  UINT32 SlotCapabilities; ///< Slot number in bits 31 to 19.
  UINT8 SlotAndRoot[12];
  UINT8 SecondVersion[24];
};
LAYOUT_OFFSET (PcieCapability, Capabilities, 0x02);
LAYOUT_OFFSET (PcieCapability, DeviceStatus, 0x0A);
LAYOUT_OFFSET (PcieCapability, SlotCapabilities, 0x14);
LAYOUT_OFFSET (PcieCapability, SecondVersion, 0x24);
LAYOUT_SIZE (PcieCapability, 0x3C);

inline constexpr UINT8 PCI_CAPABILITY_ID_EXPRESS = 0x10;
inline constexpr UINT16 PCIE_CAPABILITIES_SLOT = 0x0100;

/// The errors that DeviceStatus tells: corrected, non-fatal, fatal, unsupported request.
inline constexpr UINT16 PCIE_DEVICE_STATUS_ERRORS = 0x000F;

/// Kind of a function, as far as it matters here.
enum PciePortType : UINT8 {
  PciePortTypeRootPort = 4,
  PciePortTypeEventCollector = 10,
};

constexpr UINT8
PciePortTypeOf (UINT16 Capabilities)
{
  return static_cast<UINT8> ((Capabilities >> 4) & 0xF);
}

/// The Advanced Error Reporting capability. The root registers are those of root ports and event
/// collectors only; elsewhere another capability may lie in their place.
struct [[gnu::packed]] AerCapability {
  UINT32 Header;
  UINT32 UncorrectableStatus;
  UINT32 UncorrectableMask;
  UINT32 UncorrectableSeverity; ///< A set bit makes the error fatal.
  UINT32 CorrectedStatus;
  UINT32 CorrectedMask;
  UINT32 Control;
  UINT32 HeaderLog[4];
  UINT32 RootErrorCommand;
  UINT32 RootErrorStatus;
  UINT32 ErrorSource;
};
LAYOUT_OFFSET (AerCapability, UncorrectableStatus, 0x04);
LAYOUT_OFFSET (AerCapability, CorrectedStatus, 0x10);
LAYOUT_OFFSET (AerCapability, HeaderLog, 0x1C);
LAYOUT_OFFSET (AerCapability, RootErrorCommand, 0x2C);
LAYOUT_OFFSET (AerCapability, RootErrorStatus, 0x30);
LAYOUT_SIZE (AerCapability, 0x38);

inline constexpr UINT16 PCIE_EXTENDED_CAPABILITY_ID_AER = 0x0001;
