/// Wraps the body of an error section in a record and reports it.
#pragma once

#include "Record/ErrorRecord.h"

extern "C" {

/// Reports a record of one primary section on the executing processor. Severity is an enum
/// CperSeverity. Body is the caller's and has at most sizeof (EFI_PCIE_ERROR_DATA) bytes. Returns
/// whether a listener took the record up.
bool ReportErrorRecord (UINT32 Severity,
                        const EFI_GUID *Notification,
                        const EFI_GUID *SectionType,
                        const VOID *Body,
                        UINTN BodySize);
}
