/// The type of a spin lock, as it lies in the records that drivers share.
#pragma once

#include "Base.h"

/// A lock, naturally aligned, in memory of its user: 1 released, 2 acquired. Zeroed memory is no
/// lock until InitializeSpinLock has set it up.
using SPIN_LOCK = UINTN;
