/// Reader of the hand-off block (HOB) list of the earlier boot phases.
///
/// The list is found by the configuration tables of the system and of SMM. It grows by BuildGuidHob
/// alone, which no two processors may run at once, and nothing is ever removed from it.
#pragma once

#include "Uefi/Hob.h"

extern "C" {

/// The list's first block; null until the list has been found.
extern VOID *gHobList;

/// Looks for the list. Always returns EFI_SUCCESS: it is looked for again where it is needed.
EFI_STATUS EFIAPI HobLibConstructor (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

/// The list's first block, which is its phase hand-off block. That there is no list is an
/// assertion; when that returns, the result is null.
VOID *GetHobList ();

/// The first block of the given type at or behind the block HobStart, or null. A null HobStart is
/// an assertion; when that returns, the result is null. A block too short for its own header ends
/// the list.
VOID *GetNextHob (UINT16 Type, const VOID *HobStart);

/// The first GUID block of the given name, or null: an EFI_HOB_GUID_TYPE with the data behind it.
/// Asserts as GetHobList does.
VOID *GetFirstGuidHob (const EFI_GUID *Guid);

/// Appends a GUID block for DataLength bytes of data. Returns its data area, whose contents are
/// undefined, or null, with the list unchanged, when the list has no room, when there is no list or
/// when no block can be that long. Asserts as GetHobList does.
VOID *BuildGuidHob (const EFI_GUID *Guid, UINTN DataLength);

/// The same, and copies DataLength bytes of Data into the data area.
VOID *BuildGuidDataHob (const EFI_GUID *Guid, const VOID *Data, UINTN DataLength);
}
