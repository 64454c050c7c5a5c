/// The bench with one processor of a known kind on it.
#pragma once

#include <optional>

#include "BaseXApicX2ApicLib.h"
#include "ModuleTestBench.h"
#include "SimulatedProcessor.h"

/// A processor that stops in a dead loop.
class BenchProcessor : public SimulatedProcessor {
public:
  using SimulatedProcessor::SimulatedProcessor;

  void
  Pause () override
  {
    throw ProcessorStopped ("dead loop");
  }
};

class ProcessorTestBench : public ModuleTestBench {
public:
  /// Puts a fresh processor on the bench.
  BenchProcessor &
  UseProcessor (const char *Set, UINT32 ApicId, ApicMode Mode, UINT64 ApicBase = 0xFEE00000)
  {
    OnBench.emplace (*FindCpuidSet (Set), ApicId, Mode, ApicBase);
    UseMachine (*OnBench);
    return *OnBench;
  }

private:
  std::optional<BenchProcessor> OnBench;
};
