/// Exceptions and interrupts outside SMM.

#include "ControlPort.h"
#include "ExceptionFrame.h"
#include "LocalApic.h"
#include "MachineCheckRegisters.h"
#include "ProcessorInstructions.h"
#include "Processors.h"
#include "SmmCall.h"

VOID
HandleException (ExceptionFrame *Frame)
{
  switch (Frame->Vector) {
  case VectorMachineCheck:
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
}
