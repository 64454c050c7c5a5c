/// What the numbers and identifiers of error records are called.
#pragma once

#include <string>

#include "CperLayout.h"

/// What a section is about (UEFI 2.10, N.2.2 and N.2.14), or null for a type of somebody's own.
const char *SectionTypeName (const EFI_GUID &Type);

/// What triggered a record (N.2.1.1), or null.
const char *NotificationName (const EFI_GUID &Type);

/// Who wrote a record, or null for most.
const char *CreatorName (const EFI_GUID &Creator);

/// Flags of a record's header and of a section's descriptor (N.2.1.2, N.2.2), set ones by name.
void AppendRecordFlags (std::string &Text, UINT64 Flags);
void AppendSectionFlags (std::string &Text, UINT64 Flags);
