#include "SmmCall.h"

#include "ApmPort.h"
#include "Machine.h"
#include "MachineLog.h"
#include "Processors.h"

VOID
CallSmm (SmmCommand Command)
{
  // A machine check may come between the two steps of a call. Its own call then raises the SMI of
  // the command that is there already, since with each command SMM serves the error sources too.
  SmmCommand *Mine = &HandOverRecord ().Calls.Command[ExecutingProcessorNumber ()];
  SmmCommand Expected = SmmNone;
  __atomic_compare_exchange_n (Mine, &Expected, Command, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
  RaiseSmi ();
  for (UINTN Pass = 0; __atomic_load_n (Mine, __ATOMIC_SEQ_CST) != SmmNone; ++Pass) {
    if (Pass == SmiPassesMax) {
      EndRun (EndMachine, "boot: processor %ld takes no SMI\n", ExecutingProcessorNumber ());
    }
    CpuPause ();
  }
}
