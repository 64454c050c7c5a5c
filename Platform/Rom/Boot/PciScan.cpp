#include "PciScan.h"

#include "HandOver.h"
#include "MachineLog.h"
#include "PciErrors.h"
#include "PciRegisters.h"
#include "PciResources.h"

namespace {

constexpr UINT16 NoFunction = 0xFFFF;
constexpr UINT8 DevicesPerBus = 32;
constexpr UINT8 FunctionsPerDevice = 8;

/// Bridges behind each other.
constexpr UINTN DepthMax = 8;

constexpr UINT32 SubordinateUnknown = 0xFF;
constexpr UINT32 FirstIo = 0x1000;
constexpr UINT32 SlotNumberShift = 19;

constinit PciSpace mSpace = {};
constinit UINT8 mLastBus = 0;

VOID ScanBus (UINT8 Bus, UINTN Depth);

PciFunction &
AddFunction (const PciPlace &Address)
{
  HandOver &Found = HandOverRecord ().Found;
  if (Found.PciFunctionCount == PciFunctionMax) {
    EndRun (EndMachine, "boot: there are more than %ld PCI functions\n", PciFunctionMax);
  }
  PciFunction &Row = Found.PciFunctions[Found.PciFunctionCount++];
  Row = {};
  static_cast<PciPlace &> (Row) = Address;
  const UINTN Registers = RegisterOf (Address, 0);
  Row.ExpressCapability = FindPciCapability (Registers, PCI_CAPABILITY_ID_EXPRESS);
  if (Row.ExpressCapability != 0) {
    // Only such a function has extended capabilities.
    Row.AerCapability = FindExtendedPciCapability (Registers, PCIE_EXTENDED_CAPABILITY_ID_AER);
    const UINTN Express = Registers + Row.ExpressCapability;
    const UINT16 Capabilities = MmioLoad16 (Express + offsetof (PcieCapability, Capabilities));
    Row.IsRootPort = PciePortTypeOf (Capabilities) == PciePortTypeRootPort;
    Row.HasSlot = (Capabilities & PCIE_CAPABILITIES_SLOT) != 0;
    if (Row.HasSlot != 0) {
      Row.Slot = static_cast<UINT16> (
          MmioLoad32 (Express + offsetof (PcieCapability, SlotCapabilities)) >> SlotNumberShift);
    }
  }
  return Row;
}

VOID
SetBuses (const PciPlace &Bridge, UINT32 Secondary, UINT32 Subordinate)
{
  MmioStore32 (RegisterOf (Bridge, PciBusNumbers),
               UINT32{Bridge.Bus} | Secondary << 8 | Subordinate << 16);
}

/// Configures all that lies behind a bridge, whose windows then enclose it.
VOID
ScanBehind (const PciPlace &Bridge, PciFunction &Row, UINTN Depth)
{
  if (Depth == DepthMax) {
    EndRun (EndMachine, "boot: there are more than %ld PCI bridges behind each other\n", DepthMax);
  }
  Row.IsBridge = TRUE;
  Row.SecondaryBus = ++mLastBus;
  SetBuses (Bridge, Row.SecondaryBus, SubordinateUnknown);
  AlignPciWindow (&mSpace);
  const PciSpace Start = mSpace;
  ScanBus (Row.SecondaryBus, Depth + 1);
  AlignPciWindow (&mSpace);
  SetPciWindow (Bridge, Start, mSpace);
  Row.SubordinateBus = mLastBus;
  SetBuses (Bridge, Row.SecondaryBus, Row.SubordinateBus);
}

VOID
ScanFunction (const PciPlace &Address, UINT8 HeaderType, UINTN Depth)
{
  PciFunction &Row = AddFunction (Address);
  const bool IsBridge = (HeaderType & ~PCI_HEADER_MULTI_FUNCTION) == PCI_HEADER_LAYOUT_BRIDGE;
  AssignPciBars (Address, IsBridge ? PciBarsOfBridge : PciBarsOfDevice, &mSpace);
  if (IsBridge) {
    ScanBehind (Address, Row, Depth);
  }
  EnablePciErrors (Row);
  if (Row.IsRootPort != 0) {
    LogPrint ("boot: root port %02x:%02x.%d: slot %d, buses %02x to %02x\n", Row.Bus, Row.Device,
              Row.Function, Row.Slot, Row.SecondaryBus, Row.SubordinateBus);
  } else if (Row.AerCapability != 0) {
    LogPrint ("boot: PCI function %02x:%02x.%d reports errors\n", Row.Bus, Row.Device,
              Row.Function);
  }
}

VOID
ScanBus (UINT8 Bus, UINTN Depth)
{
  for (UINT8 Device = 0; Device < DevicesPerBus; ++Device) {
    UINT8 Functions = 1;
    for (UINT8 Function = 0; Function < Functions; ++Function) {
      const PciPlace Address = {0, Bus, Device, Function};
      if (MmioLoad16 (RegisterOf (Address, offsetof (PcieHeader, VendorId))) == NoFunction) {
        continue;
      }
      const UINT8 HeaderType = MmioLoad8 (RegisterOf (Address, offsetof (PcieHeader, HeaderType)));
      if (Function == 0 && (HeaderType & PCI_HEADER_MULTI_FUNCTION) != 0) {
        Functions = FunctionsPerDevice;
      }
      ScanFunction (Address, HeaderType, Depth);
    }
  }
}

} // namespace

VOID
ScanPci ()
{
  HandOverRecord ().Found.PciFunctionCount = 0;
  mSpace = {.Memory = PCI_MEMORY_BASE, .Io = FirstIo};
  mLastBus = 0;
  ScanBus (0, 0);
}
