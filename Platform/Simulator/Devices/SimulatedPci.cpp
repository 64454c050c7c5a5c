#include "SimulatedPci.h"

#include <cstring>

#include "Record/PciBridgeHeader.h"
#include "Record/PcieRegisters.h"
#include "Record/UpiHostData.h"
#include "TopologyRows.h"
#include "Usra.h"

namespace {

constexpr UINTN PageSize = sizeof (SimulatedPci::Registers);
constexpr UINT8 RegisterNoise = 0x5A;
constexpr UINT8 EndpointHeader = 0x00;

UINTN
PageOf (const PciPlace &Place)
{
  return SimulatedPciBase + Place.Segment * PciSegmentSize +
         PcieLocation (Place.Bus, Place.Device, Place.Function, 0);
}

SimulatedPci::Registers
Noise ()
{
  SimulatedPci::Registers Page;
  Page.fill (RegisterNoise);
  return Page;
}

template <typename Type>
void
StoreRegister (SimulatedPci::Registers &Function, std::size_t Offset, Type Value)
{
  std::memcpy (&Function[Offset], &Value, sizeof Value);
}

/// The buses behind the bridges of one bus are given out one after the other.
using NextBuses = std::map<std::pair<UINTN, UINT8>, UINT8>;

void
AddPort (SimulatedPci &Pci, const PciPlace &Place, UINTN Number, NextBuses &Next)
{
  if (Number % 9 == 2) {
    return;
  }
  const UINT8 MultiFunction = Number % 2 == 0 ? PCI_HEADER_MULTI_FUNCTION : 0;
  if (Number % 9 == 5) {
    Pci.AddFunction (Place, EndpointHeader | MultiFunction);
    return;
  }
  SimulatedPci::Registers &Bridge =
      Pci.AddFunction (Place, PCI_HEADER_LAYOUT_BRIDGE | MultiFunction);
  UINT8 &Last = Next.try_emplace ({Place.Segment, Place.Bus}, Place.Bus).first->second;
  Bridge[offsetof (PciBridgeHeader, PrimaryBus)] = Place.Bus;
  Bridge[offsetof (PciBridgeHeader, SecondaryBus)] = ++Last;
  Bridge[offsetof (PciBridgeHeader, SubordinateBus)] = ++Last;
}

} // namespace

SimulatedPci::SimulatedPci (DeviceBus &On) : BusDevice ("the PCI host bridge"), Bus (On)
{
  Clear ();
}

void
SimulatedPci::Clear ()
{
  Pages.clear ();
  ClearedByOnes.clear ();
  Bus.Release (*this);
  Bus.Claim (*this, BusSpace::Memory, SimulatedPciBase, SimulatedPciSegmentCount * PciSegmentSize);
}

/// The register at that address, or null where nothing answers.
UINT8 *
SimulatedPci::FindRegister (UINTN Address, UINTN Width)
{
  if (Address % Width != 0) {
    throw MachineFault ("an access to PCI registers is not aligned to its width");
  }
  const auto Page = Pages.find (Address / PageSize * PageSize);
  return Page != Pages.end () ? &Page->second[Address % PageSize] : nullptr;
}

UINT32
SimulatedPci::MmioRead (UINTN Address, UINTN Width)
{
  UINT32 Value = 0xFFFFFFFFU >> (8 * (sizeof Value - Width));
  const UINT8 *Register = FindRegister (Address, Width);
  if (Register != nullptr) {
    std::memcpy (&Value, Register, Width);
  }
  return Value;
}

void
SimulatedPci::MmioWrite (UINTN Address, UINTN Width, UINT32 Value)
{
  UINT8 *Register = FindRegister (Address, Width);
  if (Register != nullptr) {
    if (ClearedByOnes.contains (Address)) {
      UINT32 Before = 0;
      std::memcpy (&Before, Register, Width);
      Value = Before & ~Value;
    }
    std::memcpy (Register, &Value, Width);
  }
}

SimulatedPci::Registers &
SimulatedPci::AddFunction (const PciPlace &Place, UINT8 HeaderType)
{
  const UINTN Page = PageOf (Place);
  ClearedByOnes.erase (ClearedByOnes.lower_bound (Page),
                       ClearedByOnes.lower_bound (Page + PageSize));
  Registers &Function = Pages[Page] = Noise ();
  Function[offsetof (PciBridgeHeader, HeaderType)] = HeaderType;
  return Function;
}

SimulatedPci::Registers &
SimulatedPci::AddExpressFunction (const PciPlace &Place, UINT8 PortType)
{
  constexpr UINT8 OtherOffset = 0xC0;
  constexpr UINT16 ExtendedOffset = 0x100;
  constexpr UINT32 SeverityDefault = 0x00462030;

  const auto Express = static_cast<UINT16> (PCIE_CAPABILITIES_SLOT | PortType << 4 | 2);
  const UINT8 Header = PortType == PciePortTypeRootPort ? PCI_HEADER_LAYOUT_BRIDGE : EndpointHeader;
  Registers &Function = AddFunction (Place, Header | PCI_HEADER_MULTI_FUNCTION);
  for (std::size_t Offset = 0; Offset < Function.size (); ++Offset) {
    Function[Offset] = static_cast<UINT8> (RegisterNoise + 7 * Offset);
  }
  AerCapability Aer = {};
  Aer.Header = 1U << 16 | PCIE_EXTENDED_CAPABILITY_ID_AER;
  Aer.UncorrectableSeverity = SeverityDefault;
  std::memset (Aer.HeaderLog, RegisterNoise, sizeof Aer.HeaderLog);
  Function[offsetof (PcieHeader, HeaderType)] = Header | PCI_HEADER_MULTI_FUNCTION;
  StoreRegister (Function, offsetof (PcieHeader, Status), PCI_STATUS_CAPABILITIES_LIST);
  StoreRegister<UINT8> (Function, offsetof (PcieHeader, CapabilitiesPointer), OtherOffset);
  StoreRegister<UINT16> (Function, OtherOffset, ExpressOffset << 8 | 0x05);
  StoreRegister<UINT16> (Function, ExpressOffset, PCI_CAPABILITY_ID_EXPRESS);
  StoreRegister (Function, ExpressOffset + offsetof (PcieCapability, Capabilities), Express);
  StoreRegister<UINT32> (Function, ExtendedOffset, AerOffset << 20 | 0x1000B);
  StoreRegister (Function, AerOffset, Aer);

  const UINTN Page = PageOf (Place);
  ClearedByOnes.insert ({Page + ExpressOffset + offsetof (PcieCapability, DeviceStatus),
                         Page + AerOffset + offsetof (AerCapability, UncorrectableStatus),
                         Page + AerOffset + offsetof (AerCapability, CorrectedStatus),
                         Page + AerOffset + offsetof (AerCapability, RootErrorStatus)});
  return Function;
}

SimulatedPci::Registers *
SimulatedPci::FindFunction (const PciPlace &Place)
{
  const auto Page = Pages.find (PageOf (Place));
  return Page != Pages.end () ? &Page->second : nullptr;
}

void
SimulatedPci::RemoveFunction (const PciPlace &Place)
{
  Pages.erase (PageOf (Place));
}

void
SimulatedPci::AddCxlLink (UINTN Base, bool UpstreamAnswers)
{
  Bus.Claim (*this, BusSpace::Memory, Base, PageSize);
  Bus.Claim (*this, BusSpace::Memory, Base + PageSize, PageSize);
  Pages[Base] = Noise ();
  if (UpstreamAnswers) {
    Pages[Base + PageSize] = Noise ();
  } else {
    Pages.erase (Base + PageSize);
  }
}

void
SimulatedPci::Populate (const TopologyRows &Topology)
{
  NextBuses Next;
  bool LinkAnswers = false;
  for (const SocketRow &Socket : Topology.Sockets) {
    for (UINTN Port = 0; Port < Socket.MaxPort; ++Port) {
      if (Socket.Ports[Port].Exists) {
        AddPort (*this,
                 {.Segment = Socket.Segment,
                  .Bus = Socket.Ports[Port].Bus,
                  .Device = Topology.Places[Port].Device,
                  .Function = Topology.Places[Port].Function},
                 Port, Next);
      }
    }
    for (const StackRow &Stack : Socket.Stacks) {
      if (Stack.RcrbValid) {
        LinkAnswers = !LinkAnswers;
        AddCxlLink (Stack.RcrbBase, LinkAnswers);
      }
    }
  }
}
