/// Binds the system information record.
#pragma once

#include "Record/SystemInfoRecord.h"
#include "Uefi/SystemTable.h"

extern "C" {

/// The record, which belongs to its producer. Null until the constructor has succeeded, read-only
/// from then on; whoever reads it is ready for a constructor that has failed.
extern const SystemInfoRecord *mSystemInfoRecord;

/// Library constructor: fills mSystemInfoRecord. Ignores its arguments. Returns as BindSmmProtocol
/// does.
EFI_STATUS EFIAPI SystemInfoLibConstructor (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);
}
