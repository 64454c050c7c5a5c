/// What one error costs, by class, size of the inventory and place of the device.

#include <benchmark/benchmark.h>

#include "BenchPlatform.h"
#include "Pool.h"

namespace {

BenchPlatform &
Platform ()
{
  static BenchPlatform Instance;
  return Instance;
}

/// Arguments: class of the error, type of the devices, their number, place of the match.
void
OneError (benchmark::State &State)
{
  const auto Class = static_cast<UINT8> (State.range (0));
  const auto DeviceType = static_cast<UINT8> (State.range (1));
  const auto Count = static_cast<UINTN> (State.range (2));
  const auto Place = static_cast<MatchPlace> (State.range (3));
  Platform ().FillInventory (DeviceType, Count, Place);
  EFI_STATUS_CODE_DATA *Data = Platform ().Record (Class);

  const UINTN AllocationsBefore = gPools[PoolSmm].Allocations;
  const UINTN BlocksBefore = gPools[PoolSmm].LiveBlocks;
  for ([[maybe_unused]] const auto Iteration : State) {
    Platform ().Report (Data);
  }

  const double Errors = static_cast<double> (State.iterations ());
  const double LookedAt = Place == MatchPlace::First ? 1 : static_cast<double> (Count);
  State.counters["per_device"] = benchmark::Counter (
      Errors * LookedAt, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  State.counters["pool_calls"] =
      static_cast<double> (gPools[PoolSmm].Allocations - AllocationsBefore) / Errors;
  State.counters["blocks_left"] = static_cast<double> (gPools[PoolSmm].LiveBlocks - BlocksBefore);
}

void
EveryCase (benchmark::internal::Benchmark *Bench)
{
  Bench->ArgNames ({"class", "devices_of", "count", "match"});
  for (const int Class : {ErrorClassProcessor, ErrorClassMemory, ErrorClassPcie}) {
    for (const int Count : {8, 64, 512, 4096}) {
      for (const MatchPlace Place : {MatchPlace::First, MatchPlace::Last, MatchPlace::None}) {
        Bench->Args ({Class, Class, Count, static_cast<int> (Place)});
      }
      // Devices of another class cost no more than the test of their type.
      const int Other = Class == ErrorClassMemory ? ErrorClassPcie : ErrorClassMemory;
      Bench->Args ({Class, Other, Count, static_cast<int> (MatchPlace::None)});
    }
  }
}

BENCHMARK (OneError)->Apply (EveryCase);

} // namespace
