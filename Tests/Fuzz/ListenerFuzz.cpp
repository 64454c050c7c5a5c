/// Any bytes, reported as an error record on any processor, end in one of the listener's two
/// statuses, in at most one well-formed event, and leave no pool block.
///
/// The first byte of an input chooses the processor, the second the type of the status code and the
/// third whether its value is the listener's; the rest is the record, with zeros behind it as in a
/// reporter's static buffer.

#include <cstdlib>
#include <iostream>

#include "Pool.h"
#include "SimulatedPlatform.h"

namespace {

constexpr UINTN ChoiceBytes = 3;

SimulatedPlatform &
Platform ()
{
  static SimulatedPlatform *Instance = [] {
    auto *Loaded = new SimulatedPlatform (BuiltInPlatform ());
    if (Loaded->LoadDriver ().Status != EFI_SUCCESS) {
      std::cerr << "the driver does not load\n";
      std::abort ();
    }
    return Loaded;
  }();
  return *Instance;
}

void
Require (bool Holds, const char *What)
{
  if (!Holds) {
    std::cerr << "broken: " << What << "\n";
    std::abort ();
  }
}

void
RequireWellFormed (const BmcRequest &Event)
{
  Require (Event.NetFunction == 0x32 && Event.Lun == 0 && Event.Command == 0x2C, "the command");
  Require (Event.Data.size () >= 4 && Event.Data.size () <= 153, "the request's size");
  Require (Event.Data[0] == 0, "the first byte");
  Require (Event.Data[1] >= 1 && Event.Data[1] <= 3, "the class");
  Require (Event.Data[2] >= 1 && Event.Data[2] <= 2, "the severity");
  for (UINTN Index = 3; Index < Event.Data.size (); ++Index) {
    Require ((Event.Data[Index] == 0) == (Index + 1 == Event.Data.size ()), "the id's NUL");
  }
}

} // namespace

extern "C" int
LLVMFuzzerTestOneInput (const UINT8 *Input, size_t Size)
{
  if (Size < ChoiceBytes) {
    return 0;
  }
  const ReportOptions Options = {
      .Processor = Input[0] % Platform ().Machine.ProcessorCount (),
      .Placement = RecordPlacement::ZeroFilledPage,
      .CodeType = EFI_ERROR_CODE ^ Input[1],
      .Value = HARDWARE_ERROR_STATUS_CODE ^ Input[2],
  };
  const UINTN LiveBlocks = gPools[PoolSmm].LiveBlocks;
  const CallResult Result = Platform ().Report ({Input + ChoiceBytes, Size - ChoiceBytes}, Options);

  const bool Taken = Input[1] == 0 && Input[2] == 0;
  Require (Result.Stopped.empty (), "the processor stopped");
  Require (Result.Status == (Taken ? EFI_SUCCESS : EFI_UNSUPPORTED), "the status");
  Require (Result.Events.size () <= (Taken ? 1U : 0U), "the number of events");
  for (const BmcRequest &Event : Result.Events) {
    RequireWellFormed (Event);
  }
  Require (gPools[PoolSmm].LiveBlocks == LiveBlocks, "a pool block is left");
  Platform ().World.Forget ();
  return 0;
}
