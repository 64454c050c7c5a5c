/// What the drivers of a boot share, as the firmware sees it: buffers that variables lead to, and
/// records that are the interfaces of protocols.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Base.h"

/// One buffer that a variable of the RAS drivers' namespace leads to.
struct SharedBuffer {
  std::string Name;
  UINT64 Address = 0;
  std::span<const UINT8> Content; ///< Empty when no live pool block starts there.
  bool InSmm = false;
  bool Locked = false; ///< A variable policy keeps its variable from changes.
};

/// The buffers there are, in the order in which they were made.
std::vector<SharedBuffer> SharedBuffers ();

/// The buffer of that name, if there is one.
std::optional<SharedBuffer> FindSharedBuffer (const CHAR16 *Name);

/// The live block of the SMM pool that starts there; empty if there is none.
std::span<const UINT8> LiveSmmBlock (UINT64 Address);

/// The live block of the SMM pool that is the interface of a protocol in SMM; empty if there is no
/// such interface.
std::span<const UINT8> SharedInterface (const EFI_GUID &Protocol);
