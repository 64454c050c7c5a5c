/// Locks the variables of the RAS global data store by rules of the variable policy service.
#pragma once

#include "Protocol/VariablePolicy.h"

extern "C" {

/// Makes a rule that locks one variable, sets no limit to its size and demands nothing of its
/// attributes. Name is UTF-16 with a NUL; a null Name makes the rule one for the whole namespace.
///
/// On success *NewEntry is a pool block that the caller frees. Fails with EFI_INVALID_PARAMETER for
/// a null NewEntry, EFI_BUFFER_TOO_SMALL, which is also an assertion, for a Name of more than 32744
/// characters, and EFI_OUT_OF_RESOURCES. *NewEntry is null after the last.
[[nodiscard]] EFI_STATUS CreateBasicVariablePolicy (const EFI_GUID *Namespace,
                                                    const CHAR16 *Name,
                                                    VARIABLE_POLICY_ENTRY **NewEntry);

/// Locks the variable of that name in the namespace of the RAS global data store. Fails as
/// CreateBasicVariablePolicy does, with EFI_INVALID_PARAMETER when no policy service is bound, and
/// with the status of that service. Reports nothing itself.
[[nodiscard]] EFI_STATUS RegisterBasicVariablePolicy (const CHAR16 *Name);
}
