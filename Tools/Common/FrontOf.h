/// Structures whose bytes may end early.
#pragma once

#include <algorithm>
#include <span>

#include "Base.h"

/// A structure of which Bytes have the front, or all of it; what they do not reach is zeros.
template <typename Structure>
Structure
FrontOf (std::span<const UINT8> Bytes)
{
  Structure Result = {};
  std::copy_n (Bytes.begin (), std::min (Bytes.size (), sizeof (Structure)),
               reinterpret_cast<UINT8 *> (&Result));
  return Result;
}
