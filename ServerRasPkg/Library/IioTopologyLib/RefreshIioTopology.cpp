#include "BaseIoLibIntrinsic.h"
#include "DxeUsraLib.h"
#include "IioTopologyLibInternal.h"
#include "Machine.h"
#include "Record/PciBridgeHeader.h"

namespace {

/// A root port of one socket.
struct PortPlace {
  UINT32 Socket;
  UINT8 Bus;
  UINT8 Device;
  UINT8 Function;
};

VOID *
RegisterOf (const PortPlace &Port, UINT32 Offset)
{
  return MmPciAddressExt (Port.Socket, Port.Bus, Port.Device, Port.Function, Offset);
}

/// Where a register cannot be reached it reads as where there is no function.
UINT32
ReadConfig32 (const PortPlace &Port, UINT32 Offset)
{
  VOID *Register = RegisterOf (Port, Offset);
  return Register != nullptr ? MmioRead32 (reinterpret_cast<UINTN> (Register)) : AllOnes<UINT32>;
}

/// Reads a register into *Value. Returns false, and leaves *Value, where it cannot be reached.
bool
ReadConfig8 (const PortPlace &Port, UINT32 Offset, UINT8 *Value)
{
  VOID *Register = RegisterOf (Port, Offset);
  if (Register == nullptr) {
    return false;
  }
  *Value = MmioLoad8 (reinterpret_cast<UINTN> (Register));
  return true;
}

bool
IsBridge (const PortPlace &Port)
{
  if (ReadConfig32 (Port, offsetof (PciBridgeHeader, VendorId)) == AllOnes<UINT32>) {
    return false;
  }
  UINT8 HeaderType = 0;
  return ReadConfig8 (Port, offsetof (PciBridgeHeader, HeaderType), &HeaderType) &&
         (HeaderType & ~PCI_HEADER_MULTI_FUNCTION) == PCI_HEADER_LAYOUT_BRIDGE;
}

/// Leaves the entry of a port that is no bridge, or of which a register cannot be reached.
VOID
RefreshPort (UINT32 Socket, IioTopologyPort *Entry)
{
  const PortPlace Port = {
      .Socket = Socket, .Bus = Entry->Bus, .Device = Entry->Device, .Function = Entry->Function};
  UINT8 SecondaryBus = 0;
  UINT8 SubordinateBus = 0;
  if (IsBridge (Port) &&
      ReadConfig8 (Port, offsetof (PciBridgeHeader, SecondaryBus), &SecondaryBus) &&
      ReadConfig8 (Port, offsetof (PciBridgeHeader, SubordinateBus), &SubordinateBus)) {
    Entry->SecondaryBus = SecondaryBus;
    Entry->SubordinateBus = SubordinateBus;
  }
}

} // namespace

EFI_STATUS EFIAPI
IioTopologyReadyToLockNotify (const EFI_GUID *, VOID *, EFI_HANDLE)
{
  if (mIioTopology == nullptr) {
    return EFI_NOT_FOUND;
  }
  for (UINT32 Index = 0; Index < SOCKET_MAX; ++Index) {
    IioTopologySocket *Socket = &mIioTopology->Socket[Index];
    if (Socket->Valid == 0) {
      continue;
    }
    for (UINTN Port = 0; Port < PortBound (*Socket); ++Port) {
      if (Socket->Port[Port].Valid != 0) {
        RefreshPort (Index, &Socket->Port[Port]);
      }
    }
  }
  return EFI_SUCCESS;
}
