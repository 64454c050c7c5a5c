/// MSR reads that work inside an Intel TDX guest too.

#include "BaseXApicX2ApicLib.h"

#include "BaseXApicX2ApicLibInternal.h"

namespace {

constexpr CpuidText IntelVendor = MakeCpuidText ("GenuineIntel");
constexpr CpuidText TdxGuestSignature = MakeCpuidText ("IntelTDX    ");

/// Sub-functions of the VM call (Intel TDX GHCI, TDG.VP.VMCALL<Instruction.HLT> and
/// <Instruction.RDMSR>).
constexpr UINT64 VmCallHalt = 12;
constexpr UINT64 VmCallReadMsr = 31;

/// The MSRs that a TDX guest reads directly, one bit each from DirectMsrFirst on: TPR, PPR, EOI,
/// ISR0-7, TMR0-7 and IRR0-7.
constexpr UINT32 DirectMsrFirst = 0x808;
constexpr UINT32 DirectMsrMask = 0xFFFFFF0D;

bool
IsTdxGuest ()
{
  const CpuidAnswer Signature = ReadCpuid (CPUID_SIGNATURE);
  if (!CarriesText (Signature, IntelVendor)) {
    return false;
  }
  const UINT32 HypervisorPresent = RegisterBit (ReadCpuid (CPUID_VERSION_INFO).Ecx, 31);
  if (HypervisorPresent == 0 || Signature.Eax < CPUID_GUEST_TD) {
    return false;
  }
  return CarriesText (ReadCpuid (CPUID_GUEST_TD, 0), TdxGuestSignature);
}

bool
IsDirectMsr (UINT32 MsrIndex)
{
  const UINT32 Number = MsrIndex - DirectMsrFirst;
  return Number < 32 && RegisterBit (DirectMsrMask, Number) != 0;
}

} // namespace

BOOLEAN EFIAPI
LocalApicMsrUsesTdVmCall (UINT32 MsrIndex)
{
  return IsTdxGuest () && !IsDirectMsr (MsrIndex);
}

UINT64 EFIAPI
LocalApicReadMsr64 (UINT32 MsrIndex)
{
  if (!LocalApicMsrUsesTdVmCall (MsrIndex)) {
    return AsmReadMsr64 (MsrIndex);
  }

  UINT64 Value = 0;
  if (TdVmCall (VmCallReadMsr, MsrIndex, 0, 0, 0, &Value) != 0) {
    // Nothing is left to be done in a guest whose host answers no MSR read.
    (void)TdVmCall (VmCallHalt, 0, 0, 0, 0, nullptr);
  }
  return Value;
}
