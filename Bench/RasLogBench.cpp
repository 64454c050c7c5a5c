/// A line of the RAS debug log that the mask does not let through.

#include <benchmark/benchmark.h>

#include "RasDebugLib.h"
#include "RasTestBench.h"

namespace {

/// The test bench of the RAS modules without a test: its mask stops all lines.
class SilentPlatform : public RasTestBench {
  void
  TestBody () override
  {
  }
};

void
FilteredLine (benchmark::State &State)
{
  SilentPlatform Platform;
  RasDebugPrint (RAS_DEBUG_FLOW, "the first line finds out the mask\n");
  volatile UINT32 Port = 7;
  for ([[maybe_unused]] const auto Iteration : State) {
    RasDebugPrint (RAS_DEBUG_FLOW,
                   "SktId = 0x%x,Port = 0x%x, Bus = 0x%x,Device = 0x%x,Function = 0x%x \n", Port,
                   Port, Port, Port, Port);
  }
  if (!Platform.TakeSent ().empty ()) {
    State.SkipWithError ("a line went out");
  }
}

BENCHMARK (FilteredLine);

} // namespace
