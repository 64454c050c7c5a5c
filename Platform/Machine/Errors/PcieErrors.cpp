#include "ErrorReport.h"
#include "HardwareErrors.h"
#include "Machine.h"
#include "Record/PciBridgeHeader.h"
#include "Record/PcieRegisters.h"
#include "Record/UsraPcieAddress.h"

namespace {

constexpr UINT32 AllOnes = 0xFFFFFFFF;

/// The two parts of configuration space, and how many capabilities can lie in each.
constexpr UINTN ConfigurationSize = 0x100;
constexpr UINTN ExtendedConfigurationSize = 0x1000;
constexpr UINTN CapabilityCountMax = (ConfigurationSize - sizeof (PcieHeader)) / 4;
constexpr UINTN ExtendedCapabilityCountMax = (ExtendedConfigurationSize - ConfigurationSize) / 4;

/// ValidationBits of a PCIe error section (UEFI 2.10, N.2.7).
constexpr UINT64 PortTypeValid = 1 << 0;
constexpr UINT64 CommandStatusValid = 1 << 2;
constexpr UINT64 DeviceIdValid = 1 << 3;
constexpr UINT64 BridgeControlStatusValid = 1 << 5;
constexpr UINT64 CapabilityStructureValid = 1 << 6;
constexpr UINT64 AerInfoValid = 1 << 7;

/// One function and where its capabilities are mapped.
struct FunctionRegisters {
  UINTN Header;
  UINTN Express;
  UINTN Aer;
  bool HasRootRegisters;
};

/// Copies Size bytes of registers, a multiple of 4.
VOID
ReadRegisters (VOID *To, UINTN Address, UINTN Size)
{
  for (UINTN Offset = 0; Offset < Size; Offset += sizeof (UINT32)) {
    const UINT32 Value = MmioLoad32 (Address + Offset);
    __builtin_memcpy (static_cast<UINT8 *> (To) + Offset, &Value, sizeof (Value));
  }
}

/// Returns the offset of a capability, or 0. A list may be damaged: it ends at the header, and
/// after as many capabilities as there is room for.
UINTN
FindCapability (UINTN Function, const PcieHeader *Header, UINT8 Id)
{
  UINTN Offset =
      (Header->Status & PCI_STATUS_CAPABILITIES_LIST) != 0 ? Header->CapabilitiesPointer : 0U;
  for (UINTN Count = 0; Count < CapabilityCountMax; ++Count) {
    Offset &= ~UINTN{3};
    if (Offset < sizeof (PcieHeader)) {
      break;
    }
    const UINT32 Capability = MmioLoad32 (Function + Offset);
    if ((Capability & 0xFF) == Id) {
      return Offset;
    }
    Offset = (Capability >> 8) & 0xFF;
  }
  return 0;
}

/// The same for the extended capabilities.
UINTN
FindExtendedCapability (UINTN Function, UINT16 Id)
{
  UINTN Offset = ConfigurationSize;
  for (UINTN Count = 0; Count < ExtendedCapabilityCountMax; ++Count) {
    if (Offset < ConfigurationSize) {
      break;
    }
    const UINT32 Capability = MmioLoad32 (Function + Offset);
    if (Capability == 0 || Capability == AllOnes) {
      break;
    }
    if ((Capability & 0xFFFF) == Id) {
      return Offset;
    }
    Offset = (Capability >> 20) & ~3U;
  }
  return 0;
}

UINT8
PortTypeOf (UINT16 Capabilities)
{
  return static_cast<UINT8> ((Capabilities >> 4) & 0xF);
}

/// Returns false for a function without Advanced Error Reporting.
bool
FindRegisters (const PcieErrorSource *Source, FunctionRegisters *Registers, PcieHeader *Header)
{
  const UINTN Function =
      Source->WindowBase + PcieLocation (Source->Bus, Source->Device, Source->Function, 0);
  ReadRegisters (Header, Function, sizeof (*Header));
  if (Header->VendorId == 0xFFFF) {
    return false;
  }
  const UINTN Express = FindCapability (Function, Header, PCI_CAPABILITY_ID_EXPRESS);
  if (Express == 0 || Express + offsetof (PcieCapability, SecondVersion) > ConfigurationSize) {
    return false;
  }
  const UINT8 PortType =
      PortTypeOf (MmioLoad16 (Function + Express + offsetof (PcieCapability, Capabilities)));
  const bool HasRootRegisters =
      PortType == PciePortTypeRootPort || PortType == PciePortTypeEventCollector;
  const UINTN AerSize =
      HasRootRegisters ? sizeof (AerCapability) : offsetof (AerCapability, RootErrorCommand);
  const UINTN Aer = FindExtendedCapability (Function, PCIE_EXTENDED_CAPABILITY_ID_AER);
  if (Aer == 0 || Aer + AerSize > ExtendedConfigurationSize) {
    return false;
  }
  *Registers = {.Header = Function,
                .Express = Function + Express,
                .Aer = Function + Aer,
                .HasRootRegisters = HasRootRegisters};
  return true;
}

/// Reads the capability, and clears the root error status ahead of reading what it may tell of: an
/// error that comes in between is then told anew.
AerCapability
TakeAer (const FunctionRegisters *Registers)
{
  constexpr UINTN RootOffset = offsetof (AerCapability, RootErrorCommand);
  AerCapability Aer = {};
  if (Registers->HasRootRegisters) {
    ReadRegisters (reinterpret_cast<UINT8 *> (&Aer) + RootOffset, Registers->Aer + RootOffset,
                   sizeof (Aer) - RootOffset);
    MmioStore32 (Registers->Aer + offsetof (AerCapability, RootErrorStatus), Aer.RootErrorStatus);
  }
  ReadRegisters (&Aer, Registers->Aer, RootOffset);
  return Aer;
}

/// Reads the PCI Express capability. What its version does not have, or what would lie beyond the
/// end of configuration space, is zeros.
PcieCapability
ReadExpress (const FunctionRegisters *Registers)
{
  PcieCapability Express = {};
  constexpr UINTN FirstVersionSize = offsetof (PcieCapability, SecondVersion);
  const bool HasAll =
      Registers->Express + sizeof (Express) <= Registers->Header + ConfigurationSize;
  ReadRegisters (&Express, Registers->Express, FirstVersionSize);
  if ((Express.Capabilities & 0xF) >= 2 && HasAll) {
    ReadRegisters (Express.SecondVersion, Registers->Express + FirstVersionSize,
                   sizeof (Express.SecondVersion));
  }
  return Express;
}

EFI_PCIE_ERROR_DATA
MakeSection (const PcieErrorSource *Source,
             const PcieHeader *Header,
             const PcieCapability *Express,
             const AerCapability *Aer)
{
  EFI_PCIE_ERROR_DATA Section = {};
  Section.ValidationBits =
      PortTypeValid | CommandStatusValid | DeviceIdValid | CapabilityStructureValid | AerInfoValid;
  Section.PortType = PortTypeOf (Express->Capabilities);
  Section.CommandStatus = static_cast<UINT32> (Header->Status) << 16 | Header->Command;

  EFI_GENERIC_ERROR_PCIE_DEV_BRIDGE_ID &Id = Section.DevBridge;
  Id.VendorId = Header->VendorId;
  Id.DeviceId = Header->DeviceId;
  __builtin_memcpy (Id.ClassCode, Header->ClassCode, sizeof (Id.ClassCode));
  Id.Function = Source->Function;
  Id.Device = Source->Device;
  Id.Segment = Source->Segment;
  Id.PrimaryOrDeviceBus = Source->Bus;
  if ((Express->Capabilities & PCIE_CAPABILITIES_SLOT) != 0) {
    // Both have the number in their top 13 bits.
    Id.Slot = static_cast<UINT16> ((Express->SlotCapabilities >> 16) & 0xFFF8);
  }
  if ((Header->HeaderType & ~PCI_HEADER_MULTI_FUNCTION) == PCI_HEADER_LAYOUT_BRIDGE) {
    Id.SecondaryBus = Header->SecondaryBus;
    Section.ValidationBits |= BridgeControlStatusValid;
    Section.BridgeControlStatus =
        static_cast<UINT32> (Header->BridgeControl) << 16 | Header->SecondaryStatus;
  }
  static_assert (sizeof (Section.CapabilityStructure) == sizeof (*Express));
  __builtin_memcpy (Section.CapabilityStructure, Express, sizeof (*Express));
  static_assert (sizeof (Section.AerInfo) >= sizeof (*Aer));
  __builtin_memcpy (Section.AerInfo, Aer, sizeof (*Aer));
  return Section;
}

/// Reports the errors of one kind and clears them by writing ones. Returns 1 if a listener took
/// them up, else 0.
UINTN
ReportKind (const EFI_PCIE_ERROR_DATA *Section,
            UINT32 Severity,
            UINTN StatusRegister,
            UINT32 Status)
{
  const bool Taken = ReportErrorRecord (Severity, &gEfiEventNotificationTypePcieGuid,
                                        &gEfiPcieErrorSectionGuid, Section, sizeof (*Section));
  MmioStore32 (StatusRegister, Status);
  return Taken ? 1 : 0;
}

UINTN
ReportFunction (const PcieErrorSource *Source,
                const FunctionRegisters *Registers,
                const PcieHeader *Header)
{
  const AerCapability Aer = TakeAer (Registers);
  const UINT32 Uncorrectable = Aer.UncorrectableStatus & ~Aer.UncorrectableMask;
  const UINT32 Corrected = Aer.CorrectedStatus & ~Aer.CorrectedMask;
  const bool HasGone = Aer.Header == AllOnes || Aer.UncorrectableStatus == AllOnes;
  if (HasGone || (Uncorrectable == 0 && Corrected == 0)) {
    return 0;
  }

  const PcieCapability Express = ReadExpress (Registers);
  const EFI_PCIE_ERROR_DATA Section = MakeSection (Source, Header, &Express, &Aer);
  UINTN Count = 0;
  if (Uncorrectable != 0) {
    const bool IsFatal = (Uncorrectable & Aer.UncorrectableSeverity) != 0;
    Count += ReportKind (&Section, IsFatal ? CperSeverityFatal : CperSeverityRecoverable,
                         Registers->Aer + offsetof (AerCapability, UncorrectableStatus),
                         Aer.UncorrectableStatus);
  }
  if (Corrected != 0) {
    Count += ReportKind (&Section, CperSeverityCorrected,
                         Registers->Aer + offsetof (AerCapability, CorrectedStatus),
                         Aer.CorrectedStatus);
  }
  MmioStore16 (Registers->Express + offsetof (PcieCapability, DeviceStatus),
               Express.DeviceStatus & PCIE_DEVICE_STATUS_ERRORS);
  return Count;
}

} // namespace

UINTN
ReportPcieErrors (const HardwareErrorSources *Sources)
{
  constexpr bool RootsFirst[] = {true, false};
  UINTN Count = 0;
  for (const bool RootRegisters : RootsFirst) {
    for (UINTN Index = 0; Index < Sources->PcieCount; ++Index) {
      FunctionRegisters Registers = {};
      PcieHeader Header = {};
      if (FindRegisters (&Sources->Pcie[Index], &Registers, &Header) &&
          Registers.HasRootRegisters == RootRegisters) {
        Count += ReportFunction (&Sources->Pcie[Index], &Registers, &Header);
      }
    }
  }
  return Count;
}
