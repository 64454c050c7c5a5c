/// The shared buffer "SmmPlatMemTopology". Only its first byte is known here.
#pragma once

#include "Base.h"

inline constexpr CHAR16 PlatMemTopologyName[] = u"SmmPlatMemTopology";

struct [[gnu::packed]] PlatMemTopology {
  UINT8 FirstByte; ///< Starts as 0.
  UINT8 Reserved[12971];
};
LAYOUT_SIZE (PlatMemTopology, 12972);
