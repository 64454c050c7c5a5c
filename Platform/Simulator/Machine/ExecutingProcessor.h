/// Which processor a thread of the host acts as.
#pragma once

#include "Base.h"

/// Index of the processor as which the calling thread acts; the first unless told otherwise.
UINTN ExecutingProcessor ();

/// While it lives, the calling thread acts as another processor.
class OnProcessor {
public:
  explicit OnProcessor (UINTN Index);
  ~OnProcessor ();
  OnProcessor (const OnProcessor &) = delete;
  OnProcessor &operator= (const OnProcessor &) = delete;

private:
  UINTN Before;
};
