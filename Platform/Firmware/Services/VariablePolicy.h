/// The variable policy service: rules that the variable store keeps.
#pragma once

#include "Protocol/VariablePolicy.h"

extern "C" {

/// The service. Refuses a record of the wrong shape with EFI_INVALID_PARAMETER, and with
/// EFI_ALREADY_STARTED a second rule for the same variables. Knows the lock type "lock now" only; a
/// record of another type is a fault.
extern EDKII_VARIABLE_POLICY_PROTOCOL gVariablePolicy;

/// Forgets all rules, and installs the service with the boot services.
VOID VariablePolicyReset ();

/// Whether a rule locks a variable, be it there or not.
bool VariablePolicyLocks (const CHAR16 *Name, const EFI_GUID *Namespace);
}
