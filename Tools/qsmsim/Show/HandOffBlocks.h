/// The hand-off blocks (HOBs) that a boot has left, decoded.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Base.h"

struct HandOffBlock {
  UINT16 Type;
  UINT16 Length;                ///< In bytes, header and padding included.
  std::optional<EFI_GUID> Name; ///< Of the types that have one.
  std::vector<UINT8> Data;      ///< All behind the header and the name.
};

/// The list of the firmware, from the phase hand-off block to the end; up to the first block whose
/// length is no length if a driver has broken the list.
std::vector<HandOffBlock> ReadHandOffBlocks ();

/// "guid", "end of list", ..., or "type 0x0012".
std::string HandOffTypeText (UINT16 Type);
