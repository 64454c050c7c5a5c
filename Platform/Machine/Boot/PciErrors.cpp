#include "PciErrors.h"

#include "MachineLog.h"
#include "PciRegisters.h"

namespace {

/// A message to the local APIC with id 0, of delivery mode SMI (Intel SDM, volume 3, 11.11).
constexpr UINT32 MessageAddress = LOCAL_APIC_BASE;
constexpr UINT32 MessageDataSmi = 0x0200;

VOID
SetBits16 (UINTN Register, UINT16 Bits)
{
  MmioStore16 (Register, static_cast<UINT16> (MmioLoad16 (Register) | Bits));
}

/// Makes the interrupt with which a root port tells of errors an SMI.
VOID
RouteToSmi (const PciAddress &Port, UINT16 Aer)
{
  const UINT16 MsiX = FindPciCapability (Port, PciCapabilityMsiX);
  if (MsiX == 0) {
    EndRun (EndMachine, "boot: root port %02lx:%02lx.%ld has no MSI-X\n", Port.Bus, Port.Device,
            Port.Function);
  }
  const UINT32 Table = MmioLoad32 (RegisterOf (Port, MsiX + MsiXTable));
  const UINT32 Bar =
      MmioLoad32 (RegisterOf (Port, PciFirstBar + (Table & MsiXTableBarMask) * sizeof (UINT32)));
  const UINT32 Number =
      MmioLoad32 (RegisterOf (Port, Aer + offsetof (AerCapability, RootErrorStatus))) >>
      AerRootMessageShift;
  const UINTN Entry =
      UINTN{Bar & ~0xFU} + (Table & ~MsiXTableBarMask) + Number * sizeof (MsiXEntry);
  MmioStore32 (Entry + offsetof (MsiXEntry, AddressLow), MessageAddress);
  MmioStore32 (Entry + offsetof (MsiXEntry, AddressHigh), 0);
  MmioStore32 (Entry + offsetof (MsiXEntry, Data), MessageDataSmi);
  MmioStore32 (Entry + offsetof (MsiXEntry, Control), 0);
  SetBits16 (RegisterOf (Port, MsiX + MsiXControl), MsiXEnable);
}

} // namespace

VOID
EnablePciErrors (const PciFunction &Of)
{
  const PciAddress Address = {Of.Bus, Of.Device, Of.Function};
  SetBits16 (RegisterOf (Address, offsetof (PcieHeader, Command)), PciCommandEnable);
  if (Of.IsBridge != 0) {
    SetBits16 (RegisterOf (Address, offsetof (PcieHeader, BridgeControl)), PciBridgeControlSerr);
  }
  if (Of.ExpressCapability != 0) {
    SetBits16 (
        RegisterOf (Address, Of.ExpressCapability + offsetof (PcieCapability, DeviceControl)),
        PcieReportAllErrors);
  }
  if (Of.IsRootPort != 0 && Of.AerCapability != 0) {
    RouteToSmi (Address, Of.AerCapability);
    MmioStore32 (
        RegisterOf (Address, Of.AerCapability + offsetof (AerCapability, RootErrorCommand)),
        AerRootReportAllErrors);
  }
}
