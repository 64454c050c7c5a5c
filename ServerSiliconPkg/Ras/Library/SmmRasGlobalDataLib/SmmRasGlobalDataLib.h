/// The store of buffers that all RAS drivers of a boot share: the first driver that asks for a name
/// makes the buffer, and each later one is given the same address.
///
/// A lookup takes no lock and remembers nothing; a caller asks once, in its constructor, and keeps
/// the address. The buffer belongs to no driver and is never freed.
#pragma once

#include "Protocol/SmmVariable.h"
#include "Protocol/VariablePolicy.h"

extern "C" {

/// The service that locks the store's variables. Null until bound; it belongs to its producer.
extern EDKII_VARIABLE_POLICY_PROTOCOL *mVariablePolicy;

/// Library constructor: binds the variable services and the variable policy service. Ignores its
/// arguments. Returns the status of a failed search, or EFI_NOT_FOUND for a service without an
/// interface; each failure is reported by a message and an assertion.
EFI_STATUS EFIAPI InitializeSmmRasGlobalData (EFI_HANDLE ImageHandle,
                                              EFI_SYSTEM_TABLE *SystemTable);

/// Finds the buffer of that name, or makes one of Size bytes of zero-filled SMM pool. Name is
/// UTF-16 with a NUL; a buffer that exists may have any size. Only after the constructor has
/// succeeded.
///
/// Returns the buffer, or null if there is none, which has then been reported. *NewBuffer, unless
/// null, becomes TRUE if this call made the buffer, and FALSE on every other path: whoever gets
/// TRUE, and nobody else, gives the buffer its start state. A buffer whose address could not be
/// published is this driver's alone and counts as made.
[[nodiscard]] VOID *GetRasGlobalData (const CHAR16 *Name, UINTN Size, BOOLEAN *NewBuffer);

/// The same, but a new buffer is zero-filled boot services pool of the given type, outside SMM
/// memory.
[[nodiscard]] VOID *GetRasGlobalDataMemoryType (const CHAR16 *Name,
                                                UINTN Size,
                                                EFI_MEMORY_TYPE MemoryType,
                                                BOOLEAN *NewBuffer);
}
