#include "Chipset.h"

#include "MachineLog.h"
#include "PciWindow.h"
#include "ProcessorInstructions.h"

namespace {

constexpr UINT16 ConfigAddressPort = 0xCF8;
constexpr UINT16 ConfigDataPort = 0xCFC;

/// The host bridge, 0:0.0, by ports while it has no window: PCIEXBAR, 256 MiB and enabled.
constexpr UINT32 HostBridgeConfig = 0x80000000;
constexpr UINT32 PciExpressBarLow = 0x60;
constexpr UINT32 PciExpressBarHigh = 0x64;
constexpr UINT32 PciExpressBarEnable = 1;

constexpr UINTN SmramControl = PciRegister (0, 0, 0, 0x9D);
constexpr UINTN ExtendedSmramControl = PciRegister (0, 0, 0, 0x9E);
constexpr UINT8 SmramEnabled = 0x0A;
constexpr UINT8 SmramLocked = 0x1A;
constexpr UINT8 TsegEnabled8Megabytes = 0x05;

/// The LPC bridge, 0:1F.0.
constexpr UINTN PowerManagementBase = PciRegister (0, 0x1F, 0, 0x40);
constexpr UINTN AcpiControl = PciRegister (0, 0x1F, 0, 0x44);
constexpr UINTN GeneralConfiguration = PciRegister (0, 0x1F, 0, 0xA0);
constexpr UINT16 PowerManagementPort = 0x600;
constexpr UINT32 PowerManagementIsIo = 1;
constexpr UINT8 AcpiEnable = 0x80;
constexpr UINT16 SmiLock = 0x10;

constexpr UINT16 SmiEnablePort = PowerManagementPort + 0x30;
constexpr UINT32 SmiEnableGlobal = 0x01;
constexpr UINT32 SmiEnableApmPort = 0x20;

VOID
WriteHostBridge (UINT32 Offset, UINT32 Value)
{
  IoWrite32 (ConfigAddressPort, HostBridgeConfig | Offset);
  IoWrite32 (ConfigDataPort, Value);
}

/// The chipset has registers of one byte, for which the driver has no operation.
VOID
WriteConfig8 (UINTN Register, UINT8 Value)
{
  *reinterpret_cast<volatile UINT8 *> (Register) = Value;
}

} // namespace

VOID
ChipsetOpen ()
{
  WriteHostBridge (PciExpressBarHigh, 0);
  WriteHostBridge (PciExpressBarLow, PCI_WINDOW_BASE | PciExpressBarEnable);
  if (MmioLoad16 (PciRegister (0, 0x1F, 0, 0)) == 0xFFFF) {
    EndRun (EndMachine, "boot: the PCI Express window is closed; the machine has to be a q35\n");
  }
  MmioStore32 (PowerManagementBase, PowerManagementPort | PowerManagementIsIo);
  WriteConfig8 (AcpiControl, AcpiEnable);
  IoWrite32 (SmiEnablePort, IoRead32 (SmiEnablePort) | SmiEnableGlobal | SmiEnableApmPort);
}

VOID
ChipsetLockTseg ()
{
  WriteConfig8 (ExtendedSmramControl, TsegEnabled8Megabytes);
  WriteConfig8 (SmramControl, SmramEnabled);
  WriteConfig8 (SmramControl, SmramLocked);
  MmioStore16 (GeneralConfiguration,
               static_cast<UINT16> (MmioLoad16 (GeneralConfiguration) | SmiLock));
}
