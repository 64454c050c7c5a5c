#include "SimulatedPci.h"

#include <cstring>

#include "HostMachine.h"
#include "Record/PciBridgeHeader.h"
#include "Record/UpiHostData.h"
#include "Topology.h"
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

bool
SimulatedPci::OwnsAddress (UINTN Address) const
{
  const UINTN Page = Address / PageSize * PageSize;
  return (Address >= SimulatedPciBase &&
          Address < SimulatedPciBase + SimulatedPciSegmentCount * PciSegmentSize) ||
         Pages.contains (Page) || SilentPages.contains (Page);
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
  RecordAccess (Transcript, "mmio in", Address, Width, Value);
  return Value;
}

void
SimulatedPci::MmioWrite (UINTN Address, UINTN Width, UINT32 Value)
{
  RecordAccess (Transcript, "mmio out", Address, Width, Value);
  UINT8 *Register = FindRegister (Address, Width);
  if (Register != nullptr) {
    std::memcpy (Register, &Value, Width);
  }
}

SimulatedPci::Registers &
SimulatedPci::AddFunction (const PciPlace &Place, UINT8 HeaderType)
{
  Registers &Function = Pages[PageOf (Place)] = Noise ();
  Function[offsetof (PciBridgeHeader, HeaderType)] = HeaderType;
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
  Pages[Base] = Noise ();
  if (UpstreamAnswers) {
    Pages[Base + PageSize] = Noise ();
  } else {
    SilentPages.insert (Base + PageSize);
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
