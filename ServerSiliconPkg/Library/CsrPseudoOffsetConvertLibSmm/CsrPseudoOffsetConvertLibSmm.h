/// Binds the platform's table of CSR pseudo-offsets.
#pragma once

#include "Uefi/SystemTable.h"

extern "C" {

/// The table, which belongs to its producer. Null until the constructor has succeeded, read-only
/// from then on. Nothing in this driver looks into it.
extern const VOID *mCsrPseudoOffsetTable;

/// Library constructor: fills mCsrPseudoOffsetTable. Ignores its arguments. Returns as
/// BindSmmProtocol does.
EFI_STATUS EFIAPI CsrPseudoOffsetConvertLibConstructor (EFI_HANDLE ImageHandle,
                                                        EFI_SYSTEM_TABLE *SystemTable);
}
