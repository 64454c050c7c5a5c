#include "SimulatedProcessor.h"

#include <sstream>

namespace {

constexpr UINT32 VersionLeaf = 1;
constexpr UINT32 TopologyLeaf = 0xB;
constexpr UINT32 TdxGuestLeaf = 0x21;
constexpr UINT32 TopologyLeafV2 = 0x1F;
constexpr UINT32 AmdTopologyLeaf = 0x8000001E;

constexpr UINT32 ApicBaseMsr = 0x1B;
constexpr UINT32 X2ApicIdMsr = 0x802;

constexpr UINT64 ApicBaseBootProcessor = 1U << 8;
constexpr UINT64 ApicBaseX2ApicEnable = 1U << 10;
constexpr UINT64 ApicBaseGlobalEnable = 1U << 11;

constexpr UINTN ApicIdOffset = 0x20;

constexpr UINT64 HaltSubFunction = 12;
constexpr UINT64 ReadMsrSubFunction = 31;

[[noreturn]] void
Fault (const char *What, UINT64 Operand)
{
  std::ostringstream Text;
  Text << What << " 0x" << std::hex << Operand;
  throw MachineFault (Text.str ());
}

UINT64
Lookup (const std::map<UINT32, UINT64> &Msrs, UINT64 Index, const char *WhenMissing)
{
  const auto Found = Msrs.find (static_cast<UINT32> (Index));
  if (Index > 0xFFFFFFFF || Found == Msrs.end ()) {
    Fault (WhenMissing, Index);
  }
  return Found->second;
}

/// Puts the processor's own id where the rows have that of processor 0.
void
PatchApicId (UINT32 Leaf, UINT32 ApicId, CpuidRegisters &Registers)
{
  switch (Leaf) {
  case VersionLeaf:
    Registers.Ebx = (Registers.Ebx & 0x00FFFFFF) | ApicId << 24;
    break;
  case TopologyLeaf:
  case TopologyLeafV2:
    Registers.Edx = ApicId;
    break;
  case AmdTopologyLeaf:
    Registers.Eax = ApicId;
    break;
  default:
    break;
  }
}

/// Whether a processor of this family has IA32_APIC_BASE.
bool
HasApicBaseMsr (UINT32 Version)
{
  const UINT32 Family = (Version >> 8) & 0xF;
  return Family != 4 && Family != 5;
}

} // namespace

SimulatedProcessor::SimulatedProcessor (const CpuidSet &Set, UINT32 Id, ApicMode State, UINT64 Base)
    : ApicId (Id), Mode (State), ApicBase (Base)
{
  for (const CpuidRow &Row : Set.Rows) {
    CpuidRegisters Registers = {Row.Eax, Row.Ebx, Row.Ecx, Row.Edx};
    PatchApicId (Row.Leaf, ApicId, Registers);
    CpuidAnswers[{Row.Leaf, Row.SubLeaf}] = Registers;
  }
  TdxGuest = CpuidAnswers.contains ({TdxGuestLeaf, 0});

  // A TDX guest has both of these from its host only.
  std::map<UINT32, UINT64> &Apic = TdxGuest ? HostMsrs : Msrs;
  if (HasApicBaseMsr (CpuidAnswers[{VersionLeaf, 0}].Eax)) {
    Apic[ApicBaseMsr] = ApicBase | (ApicId == 0 ? ApicBaseBootProcessor : 0) |
                        (Mode != ApicMode::Disabled ? ApicBaseGlobalEnable : 0) |
                        (Mode == ApicMode::X2Apic ? ApicBaseX2ApicEnable : 0);
  }
  if (Mode == ApicMode::X2Apic) {
    Apic[X2ApicIdMsr] = ApicId;
  }
}

CpuidRegisters
SimulatedProcessor::Cpuid (UINT32 Leaf, UINT32 SubLeaf)
{
  ++CpuidReads[Leaf];
  const auto Found = CpuidAnswers.find ({Leaf, SubLeaf});
  if (Found != CpuidAnswers.end ()) {
    return Found->second;
  }
  CpuidRegisters Registers;
  const bool IsTopology = Leaf == TopologyLeaf || Leaf == TopologyLeafV2;
  if (IsTopology && CpuidAnswers.contains ({Leaf, 0})) {
    Registers.Ecx = SubLeaf & 0xFF;
    Registers.Edx = ApicId;
  }
  return Registers;
}

UINT64
SimulatedProcessor::ReadMsr (UINT32 Index)
{
  ++MsrReads[Index];
  return Lookup (Msrs, Index, "this processor has no MSR");
}

UINT64
SimulatedProcessor::TdVmCall (UINT64 Leaf, const UINT64 (&Args)[4], UINT64 &Result)
{
  if (!TdxGuest) {
    Fault ("outside of a TDX guest there is no VM call", Leaf);
  }
  VmCalls.push_back ({Leaf, Args[0], Args[1], Args[2], Args[3]});
  switch (Leaf) {
  case ReadMsrSubFunction:
    if (HostMsrStatus == 0) {
      Result = Lookup (HostMsrs, Args[0], "this host answers no MSR");
    }
    return HostMsrStatus;
  case HaltSubFunction:
    if (!HaltReturns) {
      throw ProcessorStopped ("virtual processor halted");
    }
    return 0;
  default:
    Fault ("this host has no VM call", Leaf);
  }
}

UINT32
SimulatedProcessor::MmioRead (UINTN Address, UINTN Width)
{
  if (Address - ApicBase >= ApicPageSize || Mode == ApicMode::X2Apic) {
    Fault ("no local APIC register answers at", Address);
  }
  if (Mode == ApicMode::Disabled) {
    return 0xFFFFFFFF;
  }
  if (Address - ApicBase != ApicIdOffset || Width != 4) {
    Fault ("unknown local APIC register or wrong width at", Address);
  }
  return ApicId << 24;
}
