#include "PciErrors.h"

#include "MachineLog.h"
#include "PciRegisters.h"

namespace {

/// A message to a local APIC, of delivery mode SMI (Intel SDM, volume 3, 11.11).
constexpr UINT32 MessageApicIdShift = 12;
constexpr UINT32 MessageDataSmi = 0x0200;

VOID
SetBits16 (UINTN Register, UINT16 Bits)
{
  MmioStore16 (Register, static_cast<UINT16> (MmioLoad16 (Register) | Bits));
}

/// Makes the interrupt with which a root port tells of errors an SMI.
VOID
RouteToSmi (const PciPlace &Port, UINT16 Aer)
{
  const UINT16 MsiX = FindPciCapability (RegisterOf (Port, 0), PciCapabilityMsiX);
  if (MsiX == 0) {
    EndRun (EndMachine, "boot: root port %02x:%02x.%d has no MSI-X\n", Port.Bus, Port.Device,
            Port.Function);
  }
  const UINT32 Table = MmioLoad32 (RegisterOf (Port, MsiX + MsiXTable));
  const UINT32 Bar =
      MmioLoad32 (RegisterOf (Port, PciFirstBar + (Table & MsiXTableBarMask) * sizeof (UINT32)));
  // Which of its messages tells of errors may depend on their kind. Each is masked after reset.
  SetBits16 (RegisterOf (Port, MsiX + MsiXControl), MsiXEnable);
  const UINT32 Number =
      MmioLoad32 (RegisterOf (Port, Aer + offsetof (AerCapability, RootErrorStatus))) >>
      AerRootMessageShift;
  const UINTN Entry =
      UINTN{Bar & ~PciBarMemoryFlags} + (Table & ~MsiXTableBarMask) + Number * sizeof (MsiXEntry);
  MmioStore32 (
      Entry + offsetof (MsiXEntry, AddressLow),
      static_cast<UINT32> (LOCAL_APIC_BASE | HandOverRecord ().Found.Processors[0].ProcessorId
                                                 << MessageApicIdShift));
  MmioStore32 (Entry + offsetof (MsiXEntry, AddressHigh), 0);
  MmioStore32 (Entry + offsetof (MsiXEntry, Data), MessageDataSmi);
  MmioStore32 (Entry + offsetof (MsiXEntry, Control), 0);
}

} // namespace

VOID
EnablePciErrors (const PciFunction &Of)
{
  SetBits16 (RegisterOf (Of, offsetof (PcieHeader, Command)), PciCommandEnable);
  if (Of.IsBridge != 0) {
    SetBits16 (RegisterOf (Of, offsetof (PcieHeader, BridgeControl)), PciBridgeControlSerr);
  }
  if (Of.ExpressCapability != 0) {
    SetBits16 (RegisterOf (Of, Of.ExpressCapability + offsetof (PcieCapability, DeviceControl)),
               PcieReportAllErrors);
  }
}

VOID
RoutePciErrors ()
{
  const HandOver &Found = HandOverRecord ().Found;
  for (UINTN Index = 0; Index < Found.PciFunctionCount; ++Index) {
    const PciFunction &Each = Found.PciFunctions[Index];
    if (Each.IsRootPort != 0 && Each.AerCapability != 0) {
      RouteToSmi (Each, Each.AerCapability);
      MmioStore32 (
          RegisterOf (Each, Each.AerCapability + offsetof (AerCapability, RootErrorCommand)),
          AerRootReportAllErrors);
    }
  }
}
