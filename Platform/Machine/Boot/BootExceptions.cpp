/// Exceptions and interrupts outside SMM.

#include "ControlPort.h"
#include "ExceptionFrame.h"
#include "LocalApic.h"
#include "ProcessorInstructions.h"
#include "Processors.h"
#include "SmmCall.h"

namespace {

/// A machine check is in progress (Intel SDM, volume 3, 16.3.1).
constexpr UINT32 MSR_IA32_MCG_STATUS = 0x17A;

} // namespace

VOID
HandleException (ExceptionFrame *Frame)
{
  switch (Frame->Vector) {
  case VectorMachineCheck:
    CallSmm (SmmServe);
    WriteMsr64 (MSR_IA32_MCG_STATUS, 0);
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
