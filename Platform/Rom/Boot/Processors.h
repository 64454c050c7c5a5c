/// The processors outside SMM: the first one boots and serves the control channel, the others sleep
/// until it gives them a job.
#pragma once

#include "HandOver.h"

/// Work for a processor; Processor is the number of the one that executes.
using ProcessorJob = VOID (*) (UINTN Processor, VOID *Argument);

extern "C" {

/// Starts all processors, puts them in order and fills their rows in the hand-over record.
VOID StartProcessors ();

/// Number of the executing processor.
UINTN ExecutingProcessorNumber ();

/// Runs Job on one processor and waits for its end. To be called on the first one.
VOID RunOnProcessor (UINTN Processor, ProcessorJob Job, VOID *Argument);

/// Runs Job on all processors, which begin at the same moment, and waits for the end of all.
VOID RunOnAllProcessors (ProcessorJob Job, VOID *Argument);

/// Sleeps until an interrupt, an SMI or a machine check unless *Pending is true. Interrupts are
/// taken in here only.
VOID SleepUnless (const volatile bool *Pending);

/// The HLT, one byte, with which it sleeps.
extern const UINT8 gSleepHalt[];
}
