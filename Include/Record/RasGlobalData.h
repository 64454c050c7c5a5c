/// The store of buffers that all RAS drivers of a boot share.
///
/// Each buffer is found by a UEFI variable of this namespace, named after the buffer, whose value
/// is the buffer's address. A buffer has no header and lives until the end of the boot; whoever
/// makes it gives it its start state, and all others take it as it is.
#pragma once

#include "Protocol/SmmVariable.h"

inline constexpr EFI_GUID gRasGlobalDataVariableGuid = {
    0xCB4AFA36, 0x42BF, 0x400B, {0x8B, 0x8F, 0x57, 0x39, 0x41, 0xA2, 0x9F, 0x4E}};

/// Volatile and for firmware alone: each boot starts with an empty store.
inline constexpr UINT32 RAS_GLOBAL_DATA_ATTRIBUTES = EFI_VARIABLE_BOOTSERVICE_ACCESS;

/// Buffers that have no other layout than a size, in bytes.
inline constexpr CHAR16 MemErrorRecordListName[] = u"MemErrorRecordList";
inline constexpr UINTN MEM_ERROR_RECORD_LIST_SIZE = 103432;
inline constexpr CHAR16 ProcessorErrorRecordListName[] = u"ProcessorErrorRecordList";
inline constexpr UINTN PROCESSOR_ERROR_RECORD_LIST_SIZE = 110088;
