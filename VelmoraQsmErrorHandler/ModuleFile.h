/// What the driver's firmware file says of it: its name in a volume, and what it waits for.
#pragma once

#include "Protocol/CsrPseudoOffsetTable.h"
#include "Protocol/EmulationConfiguration.h"
#include "Protocol/OrvBufferValidation.h"
#include "Protocol/PcdProtocol.h"
#include "Protocol/SmmAccess2.h"
#include "Protocol/SmmBase2.h"
#include "Protocol/SmmCpuService.h"
#include "Protocol/SmmIpmiTransport.h"
#include "Protocol/SmmRscHandler.h"
#include "Protocol/SmmVariable.h"
#include "Protocol/VariablePolicy.h"
#include "Record/Inventory.h"
#include "Record/SystemInfoRecord.h"

inline constexpr EFI_GUID gVelmoraQsmErrorHandlerFileGuid = {
    0x03787CC2, 0xCA50, 0x48F1, {0x9E, 0x31, 0x00, 0xDA, 0x03, 0x35, 0xA0, 0x0D}};

/// Every protocol without which the start of the driver would stop its processor or fail, and no
/// other, in the order in which the start asks for them. The ACPI tables, USRA and the debug
/// service are not among them: the driver starts without.
inline constexpr const EFI_GUID *DriverDependencies[] = {
    &gEfiSmmBase2ProtocolGuid,
    &gEfiSmmAccess2ProtocolGuid,
    &gEfiSmmVariableProtocolGuid,
    &gEdkiiVariablePolicyProtocolGuid,
    &gEfiSmmCpuServiceProtocolGuid,
    &gSystemInfoProtocolGuid,
    &gCsrPseudoOffsetTableProtocolGuid,
    &gPcdProtocolGuid,
    &gEmulationConfigurationProtocolGuid,
    &gEfiSmmRscHandlerProtocolGuid,
    &gOrvBufferValidationProtocolGuid,
    &gOrvSmmSystemInventoryInfoProtocolGuid,
    &gSmmIpmiTransportProtocolGuid,
};
