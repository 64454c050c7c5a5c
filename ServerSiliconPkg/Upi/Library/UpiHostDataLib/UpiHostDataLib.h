/// Gives all SMM drivers one resident copy of what an earlier boot phase learned about the UPI
/// links.
#pragma once

#include "Record/UpiHostData.h"
#include "Uefi/SystemTable.h"

extern "C" {

/// The shared block. Null until bound. It belongs to no driver, is read-only and is never freed.
extern const UpiHostDataBlock *mSmmKtiProtocol;

/// Library constructor: binds the block, which the first driver of a boot builds from the HOBs and
/// publishes. Ignores its arguments. What a HOB is too short for is zero in the block.
///
/// Returns EFI_UNSUPPORTED without gSmst; EFI_NOT_FOUND if a HOB is missing, which is asserted;
/// EFI_OUT_OF_RESOURCES if the pool succeeds without a block; else the status of the allocation or
/// the publication that failed. After a failure no block has been published, and the next driver
/// tries again. A block that is published and then not found is a success: mSmmKtiProtocol is null.
EFI_STATUS EFIAPI UpiHostDataLibConstructor (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

/// Returns the second record of the block. That there is no block is an assertion; when that
/// returns, the result is null.
const UpiHostRecord *GetUpiHostRecord ();
}
