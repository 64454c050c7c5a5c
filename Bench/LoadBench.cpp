/// What a load costs from the driver's entry to resident, the platform's share included, by the
/// number of sockets. The serial port is idle. Most of the time goes into the boots between loads.

#include <benchmark/benchmark.h>

#include "BootServices.h"
#include "Firmware.h"
#include "SimulatedPlatform.h"

namespace {

void
Load (benchmark::State &State)
{
  PlatformDescription Description;
  for (uint32_t Socket = 0; Socket < State.range (0); ++Socket) {
    Description.Processors.push_back ({"intel-sapphire-rapids", Socket << 7, true});
  }
  for ([[maybe_unused]] const auto Iteration : State) {
    State.PauseTiming ();
    {
      SimulatedPlatform Platform (Description);
      const DriverInstance Driver (BuiltDriver (), Platform.Machine);
      const EFI_HANDLE Handle = FirmwareAddImage (Driver.ImageBase (), Driver.ImageSize ());
      State.ResumeTiming ();
      const EFI_STATUS Status = CallDriver (Driver.Entry (), Handle, &gSystemTable);
      State.PauseTiming ();
      if (Status != EFI_SUCCESS) {
        State.SkipWithError ("the driver does not load");
      }
    }
    State.ResumeTiming ();
  }
}

BENCHMARK (Load)->ArgName ("sockets")->Arg (2)->Arg (4)->Iterations (200);

} // namespace
