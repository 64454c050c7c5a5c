#include "CperLayout.h"

#include <algorithm>

#include <fmt/format.h>

#include "Identity.h"
#include "Record/ErrorClass.h"

namespace {

/// Offset and size of a field of a body.
#define FIELD(Member) offsetof (ErrorRecord, Member), sizeof (ErrorRecord::Member)

constexpr Notation Decimal = Notation::Decimal;
constexpr Notation Hexadecimal = Notation::Hexadecimal;

// UEFI 2.10, N.2.5.
constexpr CperField MemoryFields[] = {
    {"socket", FIELD (Memory.Node), 3, true, Decimal, "Socket of the DIMM (node)"},
    {"channel", FIELD (Memory.Card), 4, true, Decimal, "DDR channel on the socket (card)"},
    {"dimm", FIELD (Memory.ModuleRank), 5, true, Decimal, "DIMM on the channel (module)"},
    {"error-status", FIELD (Memory.ErrorStatus), 0, false, Hexadecimal, "Error status"},
    {"address", FIELD (Memory.PhysicalAddress), 1, false, Hexadecimal, "Physical address"},
    {"address-mask", FIELD (Memory.PhysicalAddressMask), 2, false, Hexadecimal,
     "Valid bits of the physical address"},
    {"bank", FIELD (Memory.Bank), 6, false, Decimal, "Bank"},
    {"device", FIELD (Memory.Device), 7, false, Decimal, "Memory chip on the DIMM"},
    {"row", FIELD (Memory.Row), 8, false, Decimal, "Row"},
    {"column", FIELD (Memory.Column), 9, false, Decimal, "Column"},
    {"bit", FIELD (Memory.BitPosition), 10, false, Decimal, "Bit position"},
    {"requestor-id", FIELD (Memory.RequestorId), 11, false, Hexadecimal, "Requestor"},
    {"responder-id", FIELD (Memory.ResponderId), 12, false, Hexadecimal, "Responder"},
    {"target-id", FIELD (Memory.TargetId), 13, false, Hexadecimal, "Target"},
    {"error-type", FIELD (Memory.ErrorType), 14, false, Decimal, "Memory error type"},
    {"rank", FIELD (Memory.RankNumber), 15, false, Decimal, "Rank"},
    {"card-handle", FIELD (Memory.CardHandle), 16, false, Hexadecimal, "SMBIOS handle of the card"},
    {"module-handle", FIELD (Memory.ModuleHandle), 17, false, Hexadecimal,
     "SMBIOS handle of the module"},
};

// UEFI 2.10, N.2.7.
constexpr CperField PcieFields[] = {
    {"bus", FIELD (Pcie.DevBridge.PrimaryOrDeviceBus), 3, true, Hexadecimal, "PCI bus"},
    {"device", FIELD (Pcie.DevBridge.Device), 3, true, Decimal, "PCI device", 31},
    {"function", FIELD (Pcie.DevBridge.Function), 3, true, Decimal, "PCI function", 7},
    {"port-type", FIELD (Pcie.PortType), 0, false, Decimal, "PCI Express port type"},
    {"version", FIELD (Pcie.Version), 1, false, Hexadecimal, "PCI Express version"},
    {"command-status", FIELD (Pcie.CommandStatus), 2, false, Hexadecimal,
     "PCI command and status registers"},
    {"segment", FIELD (Pcie.DevBridge.Segment), 3, false, Decimal, "PCI segment"},
    {"vendor-id", FIELD (Pcie.DevBridge.VendorId), 3, false, Hexadecimal, "PCI vendor id"},
    {"device-id", FIELD (Pcie.DevBridge.DeviceId), 3, false, Hexadecimal, "PCI device id"},
    {"class-code", FIELD (Pcie.DevBridge.ClassCode), 3, false, Hexadecimal, "PCI class code"},
    {"secondary-bus", FIELD (Pcie.DevBridge.SecondaryBus), 3, false, Hexadecimal,
     "Secondary bus of a bridge"},
    {"serial-number", FIELD (Pcie.SerialNumber), 4, false, Hexadecimal, "Device serial number"},
    {"bridge-control-status", FIELD (Pcie.BridgeControlStatus), 5, false, Hexadecimal,
     "Bridge control and secondary status registers"},
};

// UEFI 2.10, N.2.4.1.
constexpr CperField ProcessorFields[] = {
    {"processor-type", FIELD (Processor.Type), 0, false, Decimal, "Processor type"},
    {"isa", FIELD (Processor.Isa), 1, false, Decimal, "Instruction set"},
    {"error-type", FIELD (Processor.ErrorType), 2, false, Hexadecimal, "Processor error type"},
    {"operation", FIELD (Processor.Operation), 3, false, Decimal, "Operation that failed"},
    {"flags", FIELD (Processor.Flags), 4, false, Hexadecimal, "Restartable, precise, overflow"},
    {"level", FIELD (Processor.Level), 5, false, Decimal, "Cache or TLB level"},
    {"version-info", FIELD (Processor.VersionInfo), 6, false, Hexadecimal, "CPUID signature"},
    {"apic-id", FIELD (Processor.ApicId), 8, false, Hexadecimal, "APIC id of the processor"},
    {"target-address", FIELD (Processor.TargetAddress), 9, false, Hexadecimal, "Target address"},
    {"requestor-id", FIELD (Processor.RequestorId), 10, false, Hexadecimal, "Requestor"},
    {"responder-id", FIELD (Processor.ResponderId), 11, false, Hexadecimal, "Responder"},
    {"instruction-pointer", FIELD (Processor.InstructionIp), 12, false, Hexadecimal,
     "Instruction pointer"},
};

constexpr CperSection Sections[] = {
    {"memory", ErrorClassMemory, gEfiPlatformMemoryErrorSectionGuid,
     sizeof (EFI_PLATFORM_MEMORY_ERROR_DATA), MemoryFields},
    {"pcie", ErrorClassPcie, gEfiPcieErrorSectionGuid, sizeof (EFI_PCIE_ERROR_DATA), PcieFields},
    {"processor", ErrorClassProcessor, gEfiProcessorGenericErrorSectionGuid,
     sizeof (EFI_PROCESSOR_GENERIC_ERROR_DATA), ProcessorFields},
};

constexpr Named<UINT32> Severities[] = {
    {"recoverable", CperSeverityRecoverable},
    {"fatal", CperSeverityFatal},
    {"corrected", CperSeverityCorrected},
    {"informational", CperSeverityInformational},
};

constexpr Named<EFI_GUID> Notifications[] = {
    {"cmc", gEfiEventNotificationTypeCmcGuid},
    {"cpe", {0x4E292F96, 0xD843, 0x4A55, {0xA8, 0xC2, 0xD4, 0x81, 0xF2, 0x7E, 0xBE, 0xEE}}},
    {"mce", gEfiEventNotificationTypeMceGuid},
    {"pcie", gEfiEventNotificationTypePcieGuid},
    {"init", {0xCC5263E8, 0x9308, 0x454A, {0x89, 0xD0, 0x34, 0x0B, 0xD3, 0x9B, 0xC9, 0x8E}}},
    {"nmi", {0x5BAD89FF, 0xB7E6, 0x42C9, {0x81, 0x4A, 0xCF, 0x24, 0x85, 0xD6, 0xE9, 0x8A}}},
    {"boot", {0x3D61A466, 0xAB40, 0x409A, {0xA6, 0x98, 0xF3, 0x62, 0xD4, 0x64, 0xB3, 0x8F}}},
    {"dmar", {0x667DD791, 0xC6B3, 0x4C27, {0x8A, 0x6B, 0x0F, 0x8E, 0x72, 0x2D, 0xEB, 0x41}}},
};

} // namespace

UINT64
CperField::Largest () const
{
  return Maximum != 0 ? Maximum : ~UINT64{0} >> (64 - 8 * Size);
}

UINTN
CperSection::ReadSize () const
{
  UINTN End = offsetof (ErrorRecord, Memory);
  for (const CperField &Field : Fields) {
    if (Field.TellsDevice) {
      End = std::max (End, Field.Offset + Field.Size);
    }
  }
  return End;
}

std::span<const CperSection>
CperSections ()
{
  return Sections;
}

const CperSection *
FindCperSection (const EFI_GUID &Type)
{
  const auto *Found = std::ranges::find_if (
      Sections, [&] (const CperSection &Section) { return IsSameGuid (Section.Type, Type); });
  return Found != std::end (Sections) ? Found : nullptr;
}

ErrorRecord
FrontOf (std::span<const UINT8> Bytes)
{
  ErrorRecord Record = {};
  std::copy_n (Bytes.begin (), std::min (Bytes.size (), sizeof (Record)),
               reinterpret_cast<UINT8 *> (&Record));
  return Record;
}

std::span<const Named<UINT32>>
CperSeverities ()
{
  return Severities;
}

std::span<const Named<EFI_GUID>>
CperNotifications ()
{
  return Notifications;
}

std::string
CperSeverityText (UINT32 Severity)
{
  const auto *Found = std::ranges::find (Severities, Severity, &Named<UINT32>::Of);
  return Found != std::end (Severities) ? Found->Name : fmt::format ("severity {}", Severity);
}
