/// The variable services in SMM.
#pragma once

#include "Protocol/SmmVariable.h"

inline constexpr UINTN VariableMax = 64;
inline constexpr UINTN VariableNameMax = 64;  ///< In characters, the NUL included.
inline constexpr UINTN VariableDataMax = 256; ///< In bytes.

/// One variable. Read-only to tests and tools.
struct Variable {
  BOOLEAN InUse;
  CHAR16 Name[VariableNameMax];
  EFI_GUID Namespace;
  UINT32 Attributes;
  UINTN DataSize;
  UINT8 Data[VariableDataMax];
};

extern "C" {

extern Variable gVariables[VariableMax];

/// The services, of volatile variables alone. A call without a name or a namespace, or with more
/// than the store has room for, is a fault.
extern EFI_SMM_VARIABLE_PROTOCOL gSmmVariable;

/// Drops all variables, and installs the services.
VOID VariableStoreReset ();

/// Finds a variable; null when there is none.
Variable *VariableFind (const CHAR16 *Name, const EFI_GUID *Namespace);
}
