/// The local APIC's place, its mode and its id.

#include "BaseXApicX2ApicLib.h"

#include "BaseIoLibIntrinsic.h"
#include "BaseXApicX2ApicLibInternal.h"
#include "Pcd.h"
#include "SmmDebugServiceLib.h"

namespace {

constexpr AssertionSite ApicEnabled = {ReportedModule, 460, "ApicBaseMsr.Bits.EN != 0"};

/// IA32_APIC_BASE (Intel SDM, volume 3, "Local APIC status and location").
constexpr UINT32 MSR_IA32_APIC_BASE = 0x1B;
constexpr UINT64 ApicBaseX2ApicEnable = 1ULL << 10;
constexpr UINT64 ApicBaseGlobalEnable = 1ULL << 11;
constexpr UINT64 ApicBaseAddressMask = ~0xFFFULL;

/// The id register, by the offset and by the MSR (Intel SDM, volume 3, "x2APIC register address
/// space").
constexpr UINTN XApicIdOffset = 0x20;
constexpr UINT32 MSR_IA32_X2APIC_APICID = 0x802;

/// First id that does not fit into an xAPIC's id register.
constexpr UINT32 XApicIdLimit = 0x100;

/// The id that the processor was given at reset, as CPUID reports it.
UINT32
GetInitialApicId ()
{
  if (ReadCpuid (CPUID_SIGNATURE).Eax >= CPUID_EXTENDED_TOPOLOGY) {
    const CpuidAnswer Topology = ReadCpuid (CPUID_EXTENDED_TOPOLOGY, 0);
    if (RegisterBits (Topology.Ebx, 15, 0) != 0) {
      return Topology.Edx;
    }
  }
  return RegisterBits (ReadCpuid (CPUID_VERSION_INFO).Ebx, 31, 24);
}

} // namespace

BOOLEAN EFIAPI
LocalApicBaseAddressMsrSupported ()
{
  const UINT32 Family = RegisterBits (ReadCpuid (CPUID_VERSION_INFO).Eax, 11, 8);
  return Family != 4 && Family != 5;
}

UINTN EFIAPI
GetLocalApicBaseAddress ()
{
  if (!LocalApicBaseAddressMsrSupported ()) {
    return PcdCpuLocalApicBaseAddress;
  }
  return LocalApicReadMsr64 (MSR_IA32_APIC_BASE) & ApicBaseAddressMask;
}

UINTN EFIAPI
GetApicMode ()
{
  if (!LocalApicBaseAddressMsrSupported ()) {
    return LOCAL_APIC_MODE_XAPIC;
  }
  const UINT64 ApicBase = LocalApicReadMsr64 (MSR_IA32_APIC_BASE);
  ASSERT ((ApicBase & ApicBaseGlobalEnable) != 0, ApicEnabled);
  return (ApicBase & ApicBaseX2ApicEnable) != 0 ? LOCAL_APIC_MODE_X2APIC : LOCAL_APIC_MODE_XAPIC;
}

UINT32 EFIAPI
ReadLocalApicIdRegister ()
{
  if (GetApicMode () == LOCAL_APIC_MODE_XAPIC) {
    return MmioRead32 (GetLocalApicBaseAddress () + XApicIdOffset);
  }
  return static_cast<UINT32> (LocalApicReadMsr64 (MSR_IA32_X2APIC_APICID));
}

UINT32 EFIAPI
GetApicId ()
{
  const UINT32 Raw = ReadLocalApicIdRegister ();
  if (GetApicMode () != LOCAL_APIC_MODE_XAPIC) {
    return Raw;
  }
  const UINT32 InitialApicId = GetInitialApicId ();
  return InitialApicId >= XApicIdLimit ? InitialApicId : RegisterBits (Raw, 31, 24);
}
