/// Exceptions and interrupts outside SMM.

#include "ControlPort.h"
#include "ExceptionFrame.h"
#include "LocalApic.h"
#include "MachineCheckRegisters.h"
#include "ProcessorInstructions.h"
#include "Processors.h"
#include "SmmCall.h"
#include "SmmSetUp.h"

namespace {

/// A processor that was about to halt when the interrupt came would sleep over what it told.
VOID
StepPastHalt (ExceptionFrame *Frame)
{
  const auto Halt = reinterpret_cast<UINT64> (gSleepHalt);
  Frame->Rip += Frame->Rip == Halt ? 1 : 0;
}

} // namespace

VOID
HandleException (ExceptionFrame *Frame)
{
  switch (Frame->Vector) {
  case VectorMachineCheck:
    if (!gSmmIsSetUp) {
      EndByException (Frame, "boot", ExecutingProcessorNumber ());
    }
    CallSmm (SmmServe);
    WriteMsr64 (IA32_MCG_STATUS, 0);
    break;
  case VectorSerial:
    ControlPortReceive ();
    LocalApicEndInterrupt ();
    break;
  case VectorWake:
    LocalApicEndInterrupt ();
    break;
  case VectorSpurious:
    break;
  default:
    EndByException (Frame, "boot", ExecutingProcessorNumber ());
  }
  StepPastHalt (Frame);
}
