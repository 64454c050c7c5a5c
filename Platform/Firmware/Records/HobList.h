/// The hand-off block list, as the earlier boot phases leave it.
#pragma once

#include "Uefi/Hob.h"

/// Bytes for the list and its free memory: more than the longest block needs.
inline constexpr UINTN HobListSize = 0x20000;

extern "C" {

/// An empty list: the phase hand-off block and the end. Everything behind it is free memory.
VOID HobListReset ();

/// The list's first block. A test may change any block as another boot phase would.
EFI_HOB_HANDOFF_INFO_TABLE *HobListHead ();

/// Each appends one block and returns it. Bytes that no argument gives hold garbage. A list without
/// room for the block is a fault.
EFI_HOB_GUID_TYPE *HobListAddGuid (const EFI_GUID *Name, const VOID *Data, UINTN DataSize);
EFI_HOB_CPU *HobListAddCpu (UINT8 MemoryAddressBits, UINT8 IoAddressBits);

/// Takes the first GUID block of that name off the list, as on a platform where nobody leaves one:
/// the block stays, under no name that anybody asks for. That there is none is a fault.
VOID HobListRemove (const EFI_GUID *Name);
}
