/// Sees to it that the RAS policy and configuration of the earlier boot phases are there.
#pragma once

#include "Uefi/SystemTable.h"

extern "C" {

/// Library constructor: looks for both HOBs and keeps nothing of them. Ignores its arguments.
/// Returns EFI_NOT_FOUND if one is missing, each of which is asserted and reported by a message.
EFI_STATUS EFIAPI RasRcDataLibConstructor (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

/// Returns the data of the first HOB of that name, which belongs to the HOB list, or null. A null
/// name is an assertion.
VOID *GetRasRcHobData (const EFI_GUID *HobGuid);
}
