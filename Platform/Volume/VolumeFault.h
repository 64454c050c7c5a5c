/// What is wrong with a firmware volume, or with a part of it.
#pragma once

#include "Base.h"

/// Text is null where nothing is wrong, else a few words without a line feed; Offset is where in
/// the bytes that were handed in.
struct VolumeFault {
  const CHAR8 *Text = nullptr;
  UINT64 Offset = 0;
};
