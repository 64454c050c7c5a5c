#include "SimulatedMachine.h"

#include "ExecutingProcessor.h"

SimulatedMachine::SimulatedMachine (const PlatformDescription &Description)
{
  if (Description.Processors.empty ()) {
    throw std::invalid_argument ("a platform needs a processor");
  }
  for (const PlatformDescription::Processor &Each : Description.Processors) {
    const CpuidSet *Set = FindCpuidSet (Each.CpuidSet);
    if (Set == nullptr) {
      throw std::invalid_argument ("there is no CPUID set \"" + Each.CpuidSet + "\"");
    }
    const ApicMode Mode = Each.X2Apic ? ApicMode::X2Apic : ApicMode::XApic;
    Slots.push_back ({std::make_unique<SimulatedProcessor> (*Set, Each.ApicId, Mode)});
  }
}

UINTN
SimulatedMachine::ProcessorCount () const
{
  return Slots.size ();
}

SimulatedProcessor &
SimulatedMachine::Processor (UINTN Index)
{
  return *Slots.at (Index).Processor;
}

/// The executing processor, which does something else than to pause.
SimulatedProcessor &
SimulatedMachine::Executing ()
{
  Slot &Acting = Slots.at (ExecutingProcessor ());
  Acting.PausesInARow = 0;
  return *Acting.Processor;
}

CpuidRegisters
SimulatedMachine::Cpuid (UINT32 Leaf, UINT32 SubLeaf)
{
  return Executing ().Cpuid (Leaf, SubLeaf);
}

UINT64
SimulatedMachine::ReadMsr (UINT32 Index)
{
  return Executing ().ReadMsr (Index);
}

UINT64
SimulatedMachine::TdVmCall (UINT64 Leaf, const UINT64 (&Args)[4], UINT64 &Result)
{
  return Executing ().TdVmCall (Leaf, Args, Result);
}

UINT64
SimulatedMachine::ReadTsc ()
{
  (void)Executing ();
  return Tsc += TscStep;
}

UINT8
SimulatedMachine::IoRead8 (UINT16 Port)
{
  (void)Executing ();
  if (SimulatedUart::OwnsPort (Port)) {
    return Uart.IoRead8 (Port);
  }
  return SimulatedCmos::OwnsPort (Port) ? Cmos.IoRead8 (Port) : HostMachine::IoRead8 (Port);
}

void
SimulatedMachine::IoWrite8 (UINT16 Port, UINT8 Value)
{
  (void)Executing ();
  if (SimulatedUart::OwnsPort (Port)) {
    Uart.IoWrite8 (Port, Value);
  } else if (SimulatedCmos::OwnsPort (Port)) {
    Cmos.IoWrite8 (Port, Value);
  } else {
    HostMachine::IoWrite8 (Port, Value);
  }
}

UINT32
SimulatedMachine::MmioRead (UINTN Address, UINTN Width)
{
  SimulatedProcessor &Acting = Executing ();
  if (Acting.OwnsAddress (Address)) {
    return Acting.MmioRead (Address, Width);
  }
  if (Pci.OwnsAddress (Address)) {
    return Pci.MmioRead (Address, Width);
  }
  return SimulatedCmos::OwnsAddress (Address) ? Cmos.MmioRead (Address, Width)
                                              : HostMachine::MmioRead (Address, Width);
}

void
SimulatedMachine::MmioWrite (UINTN Address, UINTN Width, UINT32 Value)
{
  (void)Executing ();
  if (Pci.OwnsAddress (Address)) {
    Pci.MmioWrite (Address, Width, Value);
  } else if (SimulatedCmos::OwnsAddress (Address)) {
    Cmos.MmioWrite (Address, Width, Value);
  } else {
    HostMachine::MmioWrite (Address, Width, Value);
  }
}

void
SimulatedMachine::Pause ()
{
  Slot &Acting = Slots.at (ExecutingProcessor ());
  if (++Acting.PausesInARow == PauseLimit) {
    Acting.PausesInARow = 0;
    throw ProcessorStopped ("dead loop");
  }
}
