/// A plain model of the print language, written to be compared with the engine: strings without a
/// bound, one step after the other, no modes.
#pragma once

#include <string>
#include <string_view>

#include "Base.h"

struct ModelText {
  std::u16string Text; ///< What the format prints, as far as the limit goes.
  UINT64 Length;       ///< Number of characters of the whole text, modulo 2^64.
};

/// What Format prints with the arguments in Slots; at most Limit characters are kept.
ModelText PrintByModel (std::u16string_view Format, const UINT64 *Slots, size_t Limit);
