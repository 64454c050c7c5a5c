/// What a processor does in SMM, between its entry and RSM.

#include "ApmPort.h"
#include "ExceptionFrame.h"
#include "Firmware.h"
#include "FoundRecord.h"
#include "Machine.h"
#include "MachineCheckRegisters.h"
#include "MachineLog.h"
#include "MachineWorld.h"
#include "ModuleLoading.h"
#include "Pool.h"
#include "ProcessorInstructions.h"
#include "SmmPaging.h"
#include "SmmTile.h"
#include "SourceTables.h"
#include "WritableWhenLocked.h"

extern "C" {

/// Called by the entry, on each processor at each SMI, with its tile.
VOID SmmMain (SmmTile *Tile);

/// SmmImageHeader::Prepare.
VOID SmmPrepare (UINTN ProcessorCount);

[[gnu::section (".smmheader"), gnu::used]] extern const SmmImageHeader gSmmImageHeader = {
    .Signature = SmmImageSignature, .Prepare = SmmPrepare};
}

namespace {

WRITABLE_WHEN_LOCKED constinit SmiStatistics mStatistics[ProcessorMax] = {};

/// The step of the boot that may be asked for next, each once.
WRITABLE_WHEN_LOCKED constinit SmmCommand mNextStep = SmmStart;

/// Set with the end of the boot: errors are served from then on.
WRITABLE_WHEN_LOCKED constinit bool mReady = false;

/// Of what is read-only, when mReady was set.
WRITABLE_WHEN_LOCKED constinit UINT64 mChecksumAtReady = 0;

VOID
Start ()
{
  for (const UINTN Address : SmramProbes) {
    if (*reinterpret_cast<const volatile UINT32 *> (Address) == SmramProbePattern) {
      EndRun (EndMachine, "smm: a write from outside has reached SMRAM\n");
    }
  }
  LogPrint ("smm: the first processor is in SMM\n");
  TakeFoundRecord ();
  MachineWorldStart ();
  ErrorSourcesStart ();
  LoadModules ();
}

VOID
MakeReady ()
{
  FirmwareSignalReadyToLock ();
  SmmPagingSettle ();
  mChecksumAtReady = SmmPagingChecksum ();
  __atomic_store_n (&mReady, true, __ATOMIC_RELEASE);
  LogPrint ("smm: ready to lock; checksum %016lx, %ld pool blocks\n", mChecksumAtReady,
            gPools[PoolSmm].LiveBlocks);
}

VOID
ReportState ()
{
  SmmStateReport &Report = HandOverRecord ().Calls.State;
  Report.LiveBlocks = gPools[PoolSmm].LiveBlocks;
  Report.LiveBytes = gPools[PoolSmm].LiveBytes;
  Report.ChecksumAtReady = mChecksumAtReady;
  Report.ChecksumNow = SmmPagingChecksum ();
  __builtin_memcpy (Report.Processors, mStatistics, sizeof mStatistics);
}

/// Runs a step of the boot if its turn has come; whoever writes outside SMRAM could ask at any
/// time.
VOID
RunStep (SmmCommand Step)
{
  SmmCommand Expected = Step;
  if (!__atomic_compare_exchange_n (&mNextStep, &Expected, SmmNone, false, __ATOMIC_ACQ_REL,
                                    __ATOMIC_ACQUIRE)) {
    return;
  }
  if (Step == SmmStart) {
    Start ();
    __atomic_store_n (&mNextStep, SmmReadyToLock, __ATOMIC_RELEASE);
  } else {
    MakeReady ();
  }
}

VOID
RunCommand (SmmCommand Command)
{
  switch (Command) {
  case SmmStart:
  case SmmReadyToLock:
    RunStep (Command);
    break;
  case SmmReadState:
    ReportState ();
    break;
  default:
    break;
  }
}

VOID
CountSmi (const SmmTile &Tile)
{
  SmiStatistics &Of = mStatistics[Tile.Index];
  Of.Last = AsmReadTsc () - Tile.EntryTsc;
  Of.Shortest = Of.Count == 0 || Of.Last < Of.Shortest ? Of.Last : Of.Shortest;
  Of.Longest = Of.Last > Of.Longest ? Of.Last : Of.Longest;
  ++Of.Count;
}

} // namespace

VOID
SmmPrepare (UINTN ProcessorCount)
{
  FillInterruptTable (ExceptionStackNumber);
  gInterruptTable[VectorMachineCheck].Stack = MachineCheckStackNumber;
  for (UINTN Index = 0; Index < ProcessorCount; ++Index) {
    PrepareTile (Index);
  }
  SmmPagingPrepare (ProcessorCount);
}

VOID
SmmMain (SmmTile *Tile)
{
  SmmCommand *Asked = &HandOverRecord ().Calls.Command[Tile->Index];
  const SmmCommand Command = __atomic_load_n (Asked, __ATOMIC_ACQUIRE);
  RunCommand (Command);
  if (__atomic_load_n (&mReady, __ATOMIC_ACQUIRE)) {
    ServeErrorSources ();
  }
  __atomic_store_n (Asked, SmmNone, __ATOMIC_RELEASE);
  CountSmi (*Tile);
}

VOID
HandleException (ExceptionFrame *Frame)
{
  if (Frame->Vector != VectorMachineCheck) {
    EndByException (Frame, "smm", CurrentTile ().Index);
  }
  // The bank is looked at in one more SMI, behind this one.
  RaiseSmi ();
  WriteMsr64 (IA32_MCG_STATUS, 0);
}
