#include "MachineCheckBank.h"

#include "Machine.h"
#include "ProcessorInstructions.h"
#include "SmmCall.h"

namespace {

/// The number of banks, and the registers of bank 0; each bank has four (Intel SDM, volume 3,
/// 16.3).
constexpr UINT32 MSR_IA32_MCG_CAP = 0x179;
constexpr UINT32 MSR_IA32_MC0_STATUS = 0x401;
constexpr UINT32 MSR_IA32_MC0_ADDR = 0x402;
constexpr UINT32 MSR_IA32_MC0_MISC = 0x403;
constexpr UINT64 BankCountMask = 0xFF;
constexpr UINT32 RegistersPerBank = 4;

} // namespace

UINTN
MachineCheckBankCount ()
{
  return AsmReadMsr64 (MSR_IA32_MCG_CAP) & BankCountMask;
}

VOID
RunMachineChecks (UINTN, VOID *Argument)
{
  const auto *Series = static_cast<const MachineCheckSeries *> (Argument);
  const auto Offset = static_cast<UINT32> (Series->Bank) * RegistersPerBank;
  for (UINT64 Number = 0; Number < Series->Count; ++Number) {
    const MachineCheck &Check = Series->Checks[Number % Series->CheckCount];
    WriteMsr64 (MSR_IA32_MC0_ADDR + Offset, Check.Address);
    WriteMsr64 (MSR_IA32_MC0_MISC + Offset, Check.Misc);
    WriteMsr64 (MSR_IA32_MC0_STATUS + Offset, Check.Status);
    CallSmm (SmmServe);
  }
}
