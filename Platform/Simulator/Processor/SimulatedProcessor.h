/// One logical processor of the simulated machine.
#pragma once

#include <array>
#include <compare>
#include <map>
#include <vector>

#include "CpuidSets.h"
#include "HostMachine.h"

/// State of the local APIC.
enum class ApicMode : UINT8 {
  Disabled,
  XApic,
  X2Apic
};

/// A processor by itself is a machine without chipset: it has CPUID, MSRs, the registers of its
/// local APIC and, in a TDX guest, the host's VM call. It knows no more MSRs and VM calls than it
/// is given, and throws MachineFault for the rest.
///
/// One thread runs a processor. The public variables are the face for tests: they set what the
/// processor answers and tell what was asked.
class SimulatedProcessor : public HostMachine {
public:
  /// A processor of the kind that Set describes, with an APIC id of its own. It is a TDX guest's if
  /// Set has the guest's leaf.
  SimulatedProcessor (const CpuidSet &Set,
                      UINT32 Id,
                      ApicMode State,
                      UINT64 Base = DefaultApicBase);

  CpuidRegisters Cpuid (UINT32 Leaf, UINT32 SubLeaf) override;
  UINT64 ReadMsr (UINT32 Index) override;
  UINT64 TdVmCall (UINT64 Leaf, const UINT64 (&Args)[4], UINT64 &Result) override;

  /// The local APIC's registers. The id register is there in xAPIC mode; a disabled APIC leaves the
  /// read unclaimed, which gives all ones.
  UINT32 MmioRead (UINTN Address, UINTN Width) override;

  struct CpuidKey {
    UINT32 Leaf;
    UINT32 SubLeaf;
    auto operator<=> (const CpuidKey &) const = default;
  };

  /// What CPUID answers, this processor's APIC id included. All else is zeros, but for the level
  /// number and the id that leaves 0xB and 0x1F give for every sub-leaf.
  std::map<CpuidKey, CpuidRegisters> CpuidAnswers;

  /// What RDMSR reads, and what the host of a TDX guest answers.
  std::map<UINT32, UINT64> Msrs;
  std::map<UINT32, UINT64> HostMsrs;

  /// Status with which the host answers MSR reads; not 0 makes them fail.
  UINT64 HostMsrStatus = 0;

  /// Whether the host returns from a halt; else the processor stops there.
  bool HaltReturns = false;

  /// How often each CPUID leaf and, by RDMSR, each MSR was read, and every VM call: its leaf and
  /// its four arguments.
  std::map<UINT32, UINTN> CpuidReads;
  std::map<UINT32, UINTN> MsrReads;
  std::vector<std::array<UINT64, 5>> VmCalls;

  static constexpr UINT64 DefaultApicBase = 0xFEE00000;
  static constexpr UINT64 ApicPageSize = 0x1000;

private:
  UINT32 ApicId;
  ApicMode Mode;
  UINT64 ApicBase;
  bool TdxGuest;
};
