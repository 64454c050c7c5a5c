/// The simulated machine: its processors, and the chipset around them.
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "DeviceBus.h"
#include "PlatformDescription.h"
#include "SimulatedCmos.h"
#include "SimulatedPci.h"
#include "SimulatedProcessor.h"
#include "SimulatedUart.h"

/// An operation goes to the processor that executes (ExecutingProcessor.h), and from there to the
/// chipset. What neither has throws MachineFault. Time is simulated: each read of the time-stamp
/// counter advances it.
class SimulatedMachine : public DeviceBus {
public:
  /// Throws std::invalid_argument for a description without processors, or with a CPUID set that
  /// does not exist.
  explicit SimulatedMachine (const PlatformDescription &Description);

  [[nodiscard]] UINTN ProcessorCount () const;
  SimulatedProcessor &Processor (UINTN Index);

  CpuidRegisters Cpuid (UINT32 Leaf, UINT32 SubLeaf) override;
  UINT64 ReadMsr (UINT32 Index) override;
  UINT64 TdVmCall (UINT64 Leaf, const UINT64 (&Args)[4], UINT64 &Result) override;
  UINT64 ReadTsc () override;
  UINT8 IoRead8 (UINT16 Port) override;
  void IoWrite8 (UINT16 Port, UINT8 Value) override;
  UINT32 MmioRead (UINTN Address, UINTN Width) override;
  void MmioWrite (UINTN Address, UINTN Width, UINT32 Value) override;

  /// Throws ProcessorStopped at the PauseLimit-th pause in a row: a processor that waits for
  /// something looks at the clock or at a device in between.
  void Pause () override;

  /// The counter, and the step by which each read advances it.
  std::atomic<UINT64> Tsc = 0;
  UINT64 TscStep = 1000;

  UINTN PauseLimit = 1000;

  /// The chipset's devices. Drivers that use them from several processors at once bring a lock.
  SimulatedUart Uart{*this};
  SimulatedCmos Cmos{*this};
  SimulatedPci Pci{*this};

private:
  /// The local APICs' registers, which lie at the same addresses for each processor.
  struct LocalApics : BusDevice {
    explicit LocalApics (SimulatedMachine &On);
    UINT32 MmioRead (UINTN Address, UINTN Width) override;

    SimulatedMachine &Machine;
  };
  LocalApics Apics{*this};

  /// One thread at a time acts as a processor, so nothing here is shared.
  struct Slot {
    std::unique_ptr<SimulatedProcessor> Processor;
    UINTN PausesInARow = 0;
  };
  std::vector<Slot> Slots;

  SimulatedProcessor &Executing ();
};
