#include "BankFilling.h"

#include "Machine.h"
#include "MachineCheckRegisters.h"
#include "ProcessorInstructions.h"
#include "SmmCall.h"

VOID
RunMachineChecks (UINTN, VOID *Argument)
{
  const auto *Series = static_cast<const MachineCheckSeries *> (Argument);
  const auto Offset = static_cast<UINT32> (Series->Bank) * MC_REGISTERS_PER_BANK;
  for (UINT64 Number = 0; Number < Series->Count; ++Number) {
    const MachineCheck &Check = Series->Checks[Number % Series->CheckCount];
    WriteMsr64 (IA32_MC0_ADDR + Offset, Check.Address);
    WriteMsr64 (IA32_MC0_MISC + Offset, Check.Misc);
    WriteMsr64 (IA32_MC0_STATUS + Offset, Check.Status);
    CallSmm (SmmServe);
  }
}
