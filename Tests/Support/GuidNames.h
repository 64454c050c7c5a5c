/// The names of GUIDs that drivers pass to services.
#pragma once

#include <span>
#include <string>

#include "Base.h"

struct NamedGuid {
  EFI_GUID Guid;
  const char *Name; ///< Without the leading "g" and the trailing "Guid".
};

/// The GUIDs that have a name here.
std::span<const NamedGuid> NamedGuids ();

/// The name; "unknown GUID" for others.
std::string GuidName (const EFI_GUID &Guid);
