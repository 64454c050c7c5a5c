/// GUIDs as text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Base.h"

/// "A5BC1114-6F64-4EDE-B863-3E83ED7C83B1".
std::string GuidText (const EFI_GUID &Guid);

/// The reverse. Braces round the text may stand or not; no value for any other text.
std::optional<EFI_GUID> ParseGuid (std::string_view Text);
