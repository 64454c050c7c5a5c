#include "Processors.h"

#include "BootStacks.h"
#include "Cmos.h"
#include "ExceptionFrame.h"
#include "LocalApic.h"
#include "MachineLog.h"
#include "ThisProcessor.h"

static_assert (ProcessorMax == BOOT_STACK_COUNT);

extern "C" {

alignas (16) UINT8 gBootStacks[BOOT_STACK_COUNT][BOOT_STACK_SIZE];

extern const UINT8 gTrampoline[];
extern const UINT8 gTrampolineEnd[];

/// Where a processor other than the first one begins, with its place in the order of arrival.
[[noreturn]] VOID ApplicationMain (UINTN Arrival);
}

namespace {

constexpr UINTN ArrivalPassesMax = 100000000;

/// What a processor is to do; Function is null when there is nothing.
struct Assignment {
  ProcessorJob Function;
  VOID *Argument;
  bool Pending;
};

constinit Assignment mAssignments[ProcessorMax] = {};

/// Processors that have filled their rows, in any order, and whether the rows are in order now.
constinit UINTN mArrived = 0;
constinit bool mInOrder = false;

/// Processors that have reached the barrier of RunOnAllProcessors.
constinit UINTN mAtBarrier = 0;

VOID
SortByApicId ()
{
  ProcessorPlace *Rows = HandOverRecord ().Found.Processors;
  for (UINTN Index = 1; Index < HandOverRecord ().Found.ProcessorCount; ++Index) {
    for (UINTN Place = Index; Place > 0 && Rows[Place].ProcessorId < Rows[Place - 1].ProcessorId;
         --Place) {
      const ProcessorPlace Lower = Rows[Place];
      Rows[Place] = Rows[Place - 1];
      Rows[Place - 1] = Lower;
    }
  }
}

/// Waits until all processors have counted themselves. Where says where they are to arrive.
VOID
AwaitArrivals (const UINTN *Arrived, const CHAR8 *Where)
{
  const UINTN Count = HandOverRecord ().Found.ProcessorCount;
  for (UINTN Pass = 0; __atomic_load_n (Arrived, __ATOMIC_ACQUIRE) < Count; ++Pass) {
    if (Pass == ArrivalPassesMax) {
      EndRun (EndMachine, "boot: %ld of %ld processors have come to the %a\n", *Arrived, Count,
              Where);
    }
    CpuPause ();
  }
}

VOID
Assign (UINTN Processor, ProcessorJob Job, VOID *Argument)
{
  Assignment &To = mAssignments[Processor];
  To.Function = Job;
  To.Argument = Argument;
  __atomic_store_n (&To.Pending, true, __ATOMIC_RELEASE);
  LocalApicWake (static_cast<UINT32> (HandOverRecord ().Found.Processors[Processor].ProcessorId));
}

/// A job may take its time, and may never end: the driver runs in its SMI. Only who waits for the
/// machine from outside gets tired.
VOID
AwaitEnd (UINTN Processor)
{
  while (__atomic_load_n (&mAssignments[Processor].Pending, __ATOMIC_ACQUIRE)) {
    CpuPause ();
  }
}

struct TogetherArguments {
  ProcessorJob Job;
  VOID *Argument;
};

/// Begins the job when all processors have come this far.
VOID
RunTogether (UINTN Processor, VOID *Argument)
{
  const auto *Arguments = static_cast<const TogetherArguments *> (Argument);
  __atomic_add_fetch (&mAtBarrier, 1, __ATOMIC_ACQ_REL);
  AwaitArrivals (&mAtBarrier, "barrier");
  Arguments->Job (Processor, Arguments->Argument);
}

} // namespace

VOID
StartProcessors ()
{
  const UINTN Count = UINTN{ReadCmos (CmosProcessors)} + 1;
  if (Count > ProcessorMax) {
    EndRun (EndMachine, "boot: the machine has %ld processors, and no more than %ld have a place\n",
            Count, ProcessorMax);
  }
  HandOver &Found = HandOverRecord ().Found;
  Found.ProcessorCount = static_cast<UINT32> (Count);
  LocalApicEnable ();
  Found.Processors[0] = PlaceOfThisProcessor ();
  mArrived = 1;
  if (Count > 1) {
    __builtin_memcpy (reinterpret_cast<VOID *> (TRAMPOLINE_BASE), gTrampoline,
                      static_cast<UINTN> (gTrampolineEnd - gTrampoline));
    LocalApicStartOthers (TRAMPOLINE_BASE / 0x1000);
    AwaitArrivals (&mArrived, "start");
    SortByApicId ();
  }
  if (Found.Processors[0].ProcessorId != LocalApicId ()) {
    EndRun (EndMachine, "boot: the first processor has not the lowest APIC id\n");
  }
  __atomic_store_n (&mInOrder, true, __ATOMIC_RELEASE);
  for (UINTN Index = 0; Index < Count; ++Index) {
    const ProcessorPlace &Row = Found.Processors[Index];
    LogPrint ("boot: processor %ld: APIC id %ld, package %d, core %d, thread %d\n", Index,
              Row.ProcessorId, Row.Package, Row.Core, Row.Thread);
  }
}

UINTN
ExecutingProcessorNumber ()
{
  const HandOver &Found = HandOverRecord ().Found;
  const UINT32 ApicId = LocalApicId ();
  UINTN Index = 0;
  while (Index + 1 < Found.ProcessorCount && Found.Processors[Index].ProcessorId != ApicId) {
    ++Index;
  }
  return Index;
}

VOID
ApplicationMain (UINTN Arrival)
{
  UseInterruptTable ();
  LocalApicEnable ();
  HandOverRecord ().Found.Processors[Arrival] = PlaceOfThisProcessor ();
  __atomic_add_fetch (&mArrived, 1, __ATOMIC_ACQ_REL);
  while (!__atomic_load_n (&mInOrder, __ATOMIC_ACQUIRE)) {
    CpuPause ();
  }

  const UINTN Processor = ExecutingProcessorNumber ();
  Assignment &Mine = mAssignments[Processor];
  for (;;) {
    SleepUnless (&Mine.Pending);
    if (__atomic_load_n (&Mine.Pending, __ATOMIC_ACQUIRE)) {
      Mine.Function (Processor, Mine.Argument);
      __atomic_store_n (&Mine.Pending, false, __ATOMIC_RELEASE);
    }
  }
}

VOID
RunOnProcessor (UINTN Processor, ProcessorJob Job, VOID *Argument)
{
  if (Processor == 0) {
    Job (0, Argument);
    return;
  }
  Assign (Processor, Job, Argument);
  AwaitEnd (Processor);
}

VOID
RunOnAllProcessors (ProcessorJob Job, VOID *Argument)
{
  TogetherArguments Arguments = {.Job = Job, .Argument = Argument};
  const UINTN Count = HandOverRecord ().Found.ProcessorCount;
  __atomic_store_n (&mAtBarrier, 0, __ATOMIC_RELEASE);
  for (UINTN Index = 1; Index < Count; ++Index) {
    Assign (Index, RunTogether, &Arguments);
  }
  RunTogether (0, &Arguments);
  for (UINTN Index = 1; Index < Count; ++Index) {
    AwaitEnd (Index);
  }
}
