#include "SimulatedMachine.h"

#include "ExecutingProcessor.h"

SimulatedMachine::LocalApics::LocalApics (SimulatedMachine &On)
    : BusDevice ("the local APIC"), Machine (On)
{
  On.Claim (*this, BusSpace::Memory, SimulatedProcessor::DefaultApicBase,
            SimulatedProcessor::ApicPageSize);
}

UINT32
SimulatedMachine::LocalApics::MmioRead (UINTN Address, UINTN Width)
{
  return Machine.Executing ().MmioRead (Address, Width);
}

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
  return DeviceBus::IoRead8 (Port);
}

void
SimulatedMachine::IoWrite8 (UINT16 Port, UINT8 Value)
{
  (void)Executing ();
  DeviceBus::IoWrite8 (Port, Value);
}

UINT32
SimulatedMachine::MmioRead (UINTN Address, UINTN Width)
{
  (void)Executing ();
  return DeviceBus::MmioRead (Address, Width);
}

void
SimulatedMachine::MmioWrite (UINTN Address, UINTN Width, UINT32 Value)
{
  (void)Executing ();
  DeviceBus::MmioWrite (Address, Width, Value);
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
