/// The simulated machine: its processors, and the chipset around them.
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "HostMachine.h"
#include "PlatformDescription.h"

class SimulatedProcessor;

/// Each thread of the host acts as one processor at a time (OnProcessor). Time is simulated: each
/// read of the time-stamp counter advances it.
class SimulatedMachine : public HostMachine {
public:
  explicit SimulatedMachine (const PlatformDescription &Description);
  ~SimulatedMachine () override;

  UINTN ProcessorCount () const;
  SimulatedProcessor &Processor (UINTN Index);

  /// Index of the processor as which the calling thread acts; the first unless told otherwise.
  static UINTN Executing ();

  CpuidRegisters Cpuid (UINT32 Leaf, UINT32 SubLeaf) override;
  UINT64 ReadMsr (UINT32 Index) override;
  UINT64 TdVmCall (UINT64 Leaf, const UINT64 (&Args)[4], UINT64 &Result) override;
  UINT64 ReadTsc () override;
  UINT32 MmioRead (UINTN Address, UINTN Width) override;

  /// Throws ProcessorStopped at the PauseLimit-th pause in a row: a processor that waits for
  /// something looks at the clock, or at what it waits for, in between.
  void Pause () override;

  /// The counter, and the step by which each read advances it.
  std::atomic<UINT64> Tsc = 0;
  UINT64 TscStep = 1000;

  UINTN PauseLimit = 1000;

private:
  std::vector<std::unique_ptr<SimulatedProcessor>> Processors;
};

/// While it lives, the calling thread acts as another processor.
class OnProcessor {
public:
  explicit OnProcessor (UINTN Index);
  ~OnProcessor ();
  OnProcessor (const OnProcessor &) = delete;
  OnProcessor &operator= (const OnProcessor &) = delete;

private:
  UINTN Before;
};
