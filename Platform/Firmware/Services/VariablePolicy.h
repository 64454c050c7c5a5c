/// The variable policy service: rules that the variable store keeps.
#pragma once

#include "Protocol/VariablePolicy.h"

inline constexpr UINTN VariablePolicyMax = 64;

/// Longest name in a rule, in characters, the NUL included.
inline constexpr UINTN VariablePolicyNameMax = 64;

/// One rule, copied from its record. Read-only to tests.
struct VariablePolicy {
  VARIABLE_POLICY_ENTRY Entry;
  CHAR16 Name[VariablePolicyNameMax]; ///< Empty in a rule for its whole namespace.
};

extern "C" {

/// In the order of their registration.
extern VariablePolicy gVariablePolicies[VariablePolicyMax];
extern UINTN gVariablePolicyCount;

/// The service. Refuses a record of the wrong shape with EFI_INVALID_PARAMETER, and with
/// EFI_ALREADY_STARTED a second rule for the same variables. Knows the lock type "lock now" only; a
/// record of another type is a fault.
extern EDKII_VARIABLE_POLICY_PROTOCOL gVariablePolicy;

/// Forgets all rules, and installs the service with the boot services.
VOID VariablePolicyReset ();

/// Whether a rule locks a variable, be it there or not.
bool VariablePolicyLocks (const CHAR16 *Name, const EFI_GUID *Namespace);
}
