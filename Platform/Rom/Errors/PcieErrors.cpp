#include "ErrorReport.h"
#include "HardwareErrors.h"
#include "Machine.h"
#include "PciCapabilities.h"
#include "ProcessorLock.h"
#include "Record/PciBridgeHeader.h"
#include "Record/PcieRegisters.h"
#include "Record/UsraPcieAddress.h"
#include "WritableWhenLocked.h"

namespace {

constexpr UINT32 AllOnes = 0xFFFFFFFF;

/// ValidationBits of a PCIe error section (UEFI 2.10, N.2.7).
constexpr UINT64 PortTypeValid = 1 << 0;
constexpr UINT64 CommandStatusValid = 1 << 2;
constexpr UINT64 DeviceIdValid = 1 << 3;
constexpr UINT64 BridgeControlStatusValid = 1 << 5;
constexpr UINT64 CapabilityStructureValid = 1 << 6;
constexpr UINT64 AerInfoValid = 1 << 7;

/// What was taken off a function.
struct TakenErrors {
  UINT32 Uncorrectable; ///< Those that are not masked, and the same below.
  UINT32 Corrected;
  bool IsFatal; ///< One of the uncorrectable ones is.
  EFI_PCIE_ERROR_DATA Section;
};

/// Is with the processor that takes errors off a function.
WRITABLE_WHEN_LOCKED constinit ProcessorLock mLock = false;

/// Copies Size bytes of registers, a multiple of 4.
VOID
ReadRegisters (VOID *To, UINTN Address, UINTN Size)
{
  for (UINTN Offset = 0; Offset < Size; Offset += sizeof (UINT32)) {
    const UINT32 Value = MmioLoad32 (Address + Offset);
    __builtin_memcpy (static_cast<UINT8 *> (To) + Offset, &Value, sizeof (Value));
  }
}

UINTN
FunctionOf (const PcieErrorSource *Source)
{
  return Source->WindowBase + PcieLocation (Source->Bus, Source->Device, Source->Function, 0);
}

/// Reads the capability, and clears the root error status ahead of reading what it may tell of: an
/// error that comes in between is then told anew.
AerCapability
TakeAer (const PcieErrorSource *Source)
{
  constexpr UINTN RootOffset = offsetof (AerCapability, RootErrorCommand);
  const UINTN Registers = FunctionOf (Source) + Source->Aer;
  AerCapability Aer = {};
  if (Source->HasRootRegisters) {
    ReadRegisters (reinterpret_cast<UINT8 *> (&Aer) + RootOffset, Registers + RootOffset,
                   sizeof (Aer) - RootOffset);
    MmioStore32 (Registers + offsetof (AerCapability, RootErrorStatus), Aer.RootErrorStatus);
  }
  ReadRegisters (&Aer, Registers, RootOffset);
  return Aer;
}

/// Reads the PCI Express capability. What its version does not have, or what would lie beyond the
/// end of configuration space, is zeros.
PcieCapability
ReadExpress (const PcieErrorSource *Source)
{
  PcieCapability Express = {};
  constexpr UINTN FirstVersionSize = offsetof (PcieCapability, SecondVersion);
  const UINTN Registers = FunctionOf (Source) + Source->Express;
  const bool HasAll = Source->Express + sizeof (Express) <= PciConfigurationSize;
  ReadRegisters (&Express, Registers, FirstVersionSize);
  if ((Express.Capabilities & 0xF) >= 2 && HasAll) {
    ReadRegisters (Express.SecondVersion, Registers + FirstVersionSize,
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
  Section.PortType = PciePortTypeOf (Express->Capabilities);
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

/// Reads and clears what a function holds. Returns false when that is nothing.
bool
TakeErrors (const PcieErrorSource *Source, TakenErrors *Taken)
{
  const UINTN Function = FunctionOf (Source);
  const AerCapability Aer = TakeAer (Source);
  Taken->Uncorrectable = Aer.UncorrectableStatus & ~Aer.UncorrectableMask;
  Taken->Corrected = Aer.CorrectedStatus & ~Aer.CorrectedMask;
  Taken->IsFatal = (Taken->Uncorrectable & Aer.UncorrectableSeverity) != 0;
  const bool HasGone = Aer.Header == AllOnes || Aer.UncorrectableStatus == AllOnes;
  if (HasGone || (Taken->Uncorrectable == 0 && Taken->Corrected == 0)) {
    return false;
  }

  PcieHeader Header;
  ReadRegisters (&Header, Function, sizeof (Header));
  const PcieCapability Express = ReadExpress (Source);
  Taken->Section = MakeSection (Source, &Header, &Express, &Aer);
  if (Taken->Uncorrectable != 0) {
    MmioStore32 (Function + Source->Aer + offsetof (AerCapability, UncorrectableStatus),
                 Aer.UncorrectableStatus);
  }
  if (Taken->Corrected != 0) {
    MmioStore32 (Function + Source->Aer + offsetof (AerCapability, CorrectedStatus),
                 Aer.CorrectedStatus);
  }
  MmioStore16 (Function + Source->Express + offsetof (PcieCapability, DeviceStatus),
               Express.DeviceStatus & PCIE_DEVICE_STATUS_ERRORS);
  return true;
}

/// Reports one kind of what was taken. Returns 1 if a listener took it up, else 0.
UINTN
ReportKind (const TakenErrors *Taken, UINT32 Severity)
{
  return ReportErrorRecord (Severity, &gEfiEventNotificationTypePcieGuid, &gEfiPcieErrorSectionGuid,
                            &Taken->Section, sizeof (Taken->Section))
             ? 1
             : 0;
}

UINTN
ReportFunction (const PcieErrorSource *Source)
{
  TakenErrors Taken;
  TakeLock (mLock);
  const bool HasErrors = TakeErrors (Source, &Taken);
  GiveLock (mLock);
  UINTN Count = 0;
  if (HasErrors && Taken.Uncorrectable != 0) {
    Count += ReportKind (&Taken, Taken.IsFatal ? CperSeverityFatal : CperSeverityRecoverable);
  }
  if (HasErrors && Taken.Corrected != 0) {
    Count += ReportKind (&Taken, CperSeverityCorrected);
  }
  return Count;
}

} // namespace

bool
FindPcieErrorRegisters (PcieErrorSource *Source)
{
  const UINTN Function = FunctionOf (Source);
  if (MmioLoad16 (Function + offsetof (PcieHeader, VendorId)) == 0xFFFF) {
    return false;
  }
  Source->Express = FindPciCapability (Function, PCI_CAPABILITY_ID_EXPRESS);
  if (Source->Express == 0 ||
      Source->Express + offsetof (PcieCapability, SecondVersion) > PciConfigurationSize) {
    return false;
  }
  const UINT8 PortType = PciePortTypeOf (
      MmioLoad16 (Function + Source->Express + offsetof (PcieCapability, Capabilities)));
  Source->HasRootRegisters =
      PortType == PciePortTypeRootPort || PortType == PciePortTypeEventCollector;
  const UINTN AerSize = Source->HasRootRegisters ? sizeof (AerCapability)
                                                 : offsetof (AerCapability, RootErrorCommand);
  Source->Aer = FindExtendedPciCapability (Function, PCIE_EXTENDED_CAPABILITY_ID_AER);
  return Source->Aer != 0 && Source->Aer + AerSize <= PciExtendedConfigurationSize;
}

UINTN
ReportPcieErrors (const HardwareErrorSources *Sources)
{
  constexpr bool RootsFirst[] = {true, false};
  UINTN Count = 0;
  for (const bool RootRegisters : RootsFirst) {
    for (UINTN Index = 0; Index < Sources->PcieCount; ++Index) {
      const PcieErrorSource *Source = &Sources->Pcie[Index];
      Count += Source->HasRootRegisters == RootRegisters ? ReportFunction (Source) : 0;
    }
  }
  return Count;
}
