/// Which logical processor is executing: its local APIC, its APIC id and what the id says about
/// package, core and thread.
///
/// Nothing is stored. Every answer is read from the executing processor at the moment of the call,
/// so any processor may call at any time, and a caller that wants another processor's answer makes
/// the call there. No function fails.
#pragma once

#include "Base.h"

/// How the registers of the local APIC are reached: as memory or as MSRs.
inline constexpr UINTN LOCAL_APIC_MODE_XAPIC = 1;
inline constexpr UINTN LOCAL_APIC_MODE_X2APIC = 2;

extern "C" {

/// TRUE if the vendor is "AuthenticAMD".
BOOLEAN EFIAPI StandardSignatureIsAuthenticAMD ();

/// Whether there is an IA32_APIC_BASE MSR: FALSE for families 4 and 5.
BOOLEAN EFIAPI LocalApicBaseAddressMsrSupported ();

/// Whether an MSR can be read only by asking the host: TRUE in an Intel TDX guest for all but the
/// x2APIC registers that the hardware virtualises for it.
BOOLEAN EFIAPI LocalApicMsrUsesTdVmCall (UINT32 MsrIndex);

/// Reads a 64-bit MSR, by RDMSR or through the host of a TDX guest. A host that refuses is answered
/// by halting the virtual processor; should that halt ever end, the result is 0.
UINT64 EFIAPI LocalApicReadMsr64 (UINT32 MsrIndex);

/// Address of the local APIC's memory-mapped registers, in bytes.
UINTN EFIAPI GetLocalApicBaseAddress ();

/// LOCAL_APIC_MODE_XAPIC or LOCAL_APIC_MODE_X2APIC. Asserts that the local APIC is enabled; the
/// answer for a disabled one follows the x2APIC enable bit all the same.
UINTN EFIAPI GetApicMode ();

/// The local APIC's 32-bit id register as it stands: an xAPIC has the id in bits 31:24, an x2APIC
/// in all 32 bits.
UINT32 EFIAPI ReadLocalApicIdRegister ();

/// The APIC id. An xAPIC's register holds 8 bits of it only; an id beyond those comes from CPUID.
UINT32 EFIAPI GetApicId ();

/// Splits an APIC id into package, core and thread number, by the CPUID answers of the executing
/// processor, whoever the id belongs to. A null pointer among the three is skipped; Thread is
/// stored first, then Core, then Package. (Intel SDM, volume 3, "Programming considerations for
/// hardware multi-threading capable processors"; AMD64 APM, volume 3, appendix E.4 and E.5.)
///
/// A processor that cannot have several logical processors gives 0 for all three. A processor whose
/// CPUID answers contradict each other still gives some location: shift counts are taken modulo 32,
/// a list of topology levels without core level or end is left after 256 levels, and an AMD package
/// with room for less than one whole core counts as one core.
VOID EFIAPI
GetProcessorLocationByApicId (UINT32 InitialApicId, UINT32 *Package, UINT32 *Core, UINT32 *Thread);
}
