/// Common platform error records, CPER (UEFI 2.10, appendix N).
#pragma once

#include "Uefi/StatusCode.h"

/// Class software (0x03), subclass SMM driver (0x07), operation 0x1008: a hardware error whose
/// data is a CPER record.
inline constexpr EFI_STATUS_CODE_VALUE HARDWARE_ERROR_STATUS_CODE = 0x03071008;

/// ErrorSeverity of a record header and SectionSeverity of a section descriptor.
enum CperSeverity : UINT32 {
  CperSeverityRecoverable = 0,
  CperSeverityFatal = 1,
  CperSeverityCorrected = 2,
  CperSeverityInformational = 3,
};

inline constexpr EFI_GUID gEfiProcessorGenericErrorSectionGuid = {
    0x9876CCAD, 0x47B4, 0x4BDB, {0xB6, 0x5E, 0x16, 0xF1, 0x93, 0xC4, 0xF3, 0xDB}};
inline constexpr EFI_GUID gEfiPlatformMemoryErrorSectionGuid = {
    0xA5BC1114, 0x6F64, 0x4EDE, {0xB8, 0x63, 0x3E, 0x83, 0xED, 0x7C, 0x83, 0xB1}};
inline constexpr EFI_GUID gEfiPcieErrorSectionGuid = {
    0xD995E954, 0xBBC1, 0x430F, {0xAD, 0x91, 0xB4, 0x4D, 0xCB, 0x3C, 0x6F, 0x35}};

/// NotificationType of a record header: what made its reporter look (N.2.1.1).
inline constexpr EFI_GUID gEfiEventNotificationTypeCmcGuid = {
    0x2DCE8BB1, 0xBDD7, 0x450E, {0xB9, 0xAD, 0x9C, 0xF4, 0xEB, 0xD4, 0xF8, 0x90}};
inline constexpr EFI_GUID gEfiEventNotificationTypeMceGuid = {
    0xE8F56FFE, 0x919C, 0x4CC5, {0xBA, 0x88, 0x65, 0xAB, 0xE1, 0x49, 0x13, 0xBB}};
inline constexpr EFI_GUID gEfiEventNotificationTypePcieGuid = {
    0xCF93C01F, 0x1A16, 0x4DFC, {0xB8, 0xBC, 0x9C, 0x4D, 0xAF, 0x67, 0xC1, 0x04}};

/// Header of a record (N.2.1).
struct [[gnu::packed]] CperRecordHeader {
  UINT32 SignatureStart; ///< "CPER"
  UINT16 Revision;
  UINT32 SignatureEnd; ///< All ones.
  UINT16 SectionCount;
  UINT32 ErrorSeverity; ///< An enum CperSeverity.
  UINT32 ValidationBits;
  UINT32 RecordLength; ///< Of the whole record, in bytes.
  UINT64 TimeStamp;
  EFI_GUID PlatformId;
  EFI_GUID PartitionId;
  EFI_GUID CreatorId;
  EFI_GUID NotificationType;
  UINT64 RecordId;
  UINT32 Flags;
  UINT64 PersistenceInformation;
  UINT8 Reserved[12];
};
LAYOUT_OFFSET (CperRecordHeader, SignatureEnd, 6);
LAYOUT_OFFSET (CperRecordHeader, SectionCount, 10);
LAYOUT_OFFSET (CperRecordHeader, ErrorSeverity, 12);
LAYOUT_OFFSET (CperRecordHeader, RecordLength, 20);
LAYOUT_OFFSET (CperRecordHeader, NotificationType, 80);
LAYOUT_OFFSET (CperRecordHeader, RecordId, 96);
LAYOUT_SIZE (CperRecordHeader, 128);

inline constexpr UINT32 CPER_SIGNATURE_START = 0x52455043;
inline constexpr UINT32 CPER_SIGNATURE_END = 0xFFFFFFFF;
inline constexpr UINT16 CPER_REVISION = 0x0101;

/// Descriptor of one section; all descriptors follow the header (N.2.2).
struct [[gnu::packed]] CperSectionDescriptor {
  UINT32 SectionOffset; ///< From the start of the record, in bytes.
  UINT32 SectionLength;
  UINT16 Revision;
  UINT8 ValidationBits;
  UINT8 Reserved;
  UINT32 Flags;
  EFI_GUID SectionType;
  EFI_GUID FruId;
  UINT32 SectionSeverity; ///< An enum CperSeverity.
  CHAR8 FruText[20];
};
LAYOUT_OFFSET (CperSectionDescriptor, SectionType, 16);
LAYOUT_OFFSET (CperSectionDescriptor, SectionSeverity, 48);
LAYOUT_SIZE (CperSectionDescriptor, 72);

inline constexpr UINT16 CPER_SECTION_REVISION = 0x0100;
inline constexpr UINT32 CPER_SECTION_FLAG_PRIMARY = 0x01;

/// Body of a memory error section (N.2.5).
struct [[gnu::packed]] EFI_PLATFORM_MEMORY_ERROR_DATA {
  UINT64 ValidationBits;
  UINT64 ErrorStatus;
  UINT64 PhysicalAddress;
  UINT64 PhysicalAddressMask;
  UINT16 Node;
  UINT16 Card;
  UINT16 ModuleRank;
  UINT16 Bank;
  UINT16 Device;
  UINT16 Row;
  UINT16 Column;
  UINT16 BitPosition;
  UINT64 RequestorId;
  UINT64 ResponderId;
  UINT64 TargetId;
  UINT8 ErrorType;
  UINT8 Extended;
  UINT16 RankNumber;
  UINT16 CardHandle;
  UINT16 ModuleHandle;
};
LAYOUT_OFFSET (EFI_PLATFORM_MEMORY_ERROR_DATA, Node, 32);
LAYOUT_OFFSET (EFI_PLATFORM_MEMORY_ERROR_DATA, Card, 34);
LAYOUT_OFFSET (EFI_PLATFORM_MEMORY_ERROR_DATA, ModuleRank, 36);
LAYOUT_SIZE (EFI_PLATFORM_MEMORY_ERROR_DATA, 80);

/// Device id of a PCIe error section.
struct [[gnu::packed]] EFI_GENERIC_ERROR_PCIE_DEV_BRIDGE_ID {
  UINT16 VendorId;
  UINT16 DeviceId;
  UINT8 ClassCode[3];
  UINT8 Function;
  UINT8 Device;
  UINT16 Segment;
  UINT8 PrimaryOrDeviceBus;
  UINT8 SecondaryBus;
  UINT16 Slot; ///< Slot number in bits 15 to 3.
  UINT8 Reserved;
};
LAYOUT_OFFSET (EFI_GENERIC_ERROR_PCIE_DEV_BRIDGE_ID, Function, 7);
LAYOUT_OFFSET (EFI_GENERIC_ERROR_PCIE_DEV_BRIDGE_ID, Device, 8);
LAYOUT_OFFSET (EFI_GENERIC_ERROR_PCIE_DEV_BRIDGE_ID, PrimaryOrDeviceBus, 11);
LAYOUT_SIZE (EFI_GENERIC_ERROR_PCIE_DEV_BRIDGE_ID, 16);

/// Body of a PCIe error section (N.2.7).
struct [[gnu::packed]] EFI_PCIE_ERROR_DATA {
  UINT64 ValidationBits;
  UINT32 PortType;
  UINT32 Version;
  UINT32 CommandStatus;
  UINT32 Reserved;
  EFI_GENERIC_ERROR_PCIE_DEV_BRIDGE_ID DevBridge;
  UINT64 SerialNumber;
  UINT32 BridgeControlStatus;
  UINT8 CapabilityStructure[60];
  UINT8 AerInfo[96];
};
LAYOUT_OFFSET (EFI_PCIE_ERROR_DATA, DevBridge, 24);
LAYOUT_SIZE (EFI_PCIE_ERROR_DATA, 208);

/// Body of a generic processor error section (N.2.4.1).
struct [[gnu::packed]] EFI_PROCESSOR_GENERIC_ERROR_DATA {
  UINT64 ValidationBits;
  UINT8 Type;
  UINT8 Isa;
  UINT8 ErrorType;
  UINT8 Operation;
  UINT8 Flags;
  UINT8 Level;
  UINT16 Reserved;
  UINT64 VersionInfo;
  CHAR8 BrandString[128];
  UINT64 ApicId;
  UINT64 TargetAddress;
  UINT64 RequestorId;
  UINT64 ResponderId;
  UINT64 InstructionIp;
};
LAYOUT_OFFSET (EFI_PROCESSOR_GENERIC_ERROR_DATA, ApicId, 152);
LAYOUT_SIZE (EFI_PROCESSOR_GENERIC_ERROR_DATA, 192);

/// A record as its first section is read here: the section's body is taken to lie straight behind
/// the first descriptor. Only the bytes up to the fields that are read need to exist.
struct [[gnu::packed]] ErrorRecord {
  CperRecordHeader Header;
  CperSectionDescriptor Section;
  union {
    EFI_PLATFORM_MEMORY_ERROR_DATA Memory;
    EFI_PCIE_ERROR_DATA Pcie;
    EFI_PROCESSOR_GENERIC_ERROR_DATA Processor;
  };
};
LAYOUT_OFFSET (ErrorRecord, Section, 128);
LAYOUT_OFFSET (ErrorRecord, Memory, 200);
LAYOUT_OFFSET (ErrorRecord, Pcie, 200);
LAYOUT_OFFSET (ErrorRecord, Memory.Node, 232);
LAYOUT_OFFSET (ErrorRecord, Memory.Card, 234);
LAYOUT_OFFSET (ErrorRecord, Memory.ModuleRank, 236);
LAYOUT_OFFSET (ErrorRecord, Pcie.DevBridge.Function, 231);
LAYOUT_OFFSET (ErrorRecord, Pcie.DevBridge.Device, 232);
LAYOUT_OFFSET (ErrorRecord, Pcie.DevBridge.PrimaryOrDeviceBus, 235);
