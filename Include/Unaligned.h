/// A value at any address, as it lies in packed records and in text.
#pragma once

#include "Base.h"

/// Reached through a pointer to this type, memory of any type and alignment may be read and written
/// as a Number; the compiler takes one access for it.
template <typename Number> struct [[gnu::packed]] Unaligned {
  typedef Number AnyNumber [[gnu::may_alias]];
  AnyNumber Value;
};

static_assert (alignof (Unaligned<UINT64>) == 1);
