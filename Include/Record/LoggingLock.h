/// The shared buffer "LoggingLock": the two locks of the RAS debug log.
#pragma once

#include "SpinLock.h"

inline constexpr CHAR16 LoggingLockName[] = u"LoggingLock";

/// Who takes both takes the second one first.
struct LoggingLockBuffer {
  SPIN_LOCK FirstLock;  ///< Held by every line that waits for its turn on the wire.
  SPIN_LOCK SecondLock; ///< Held by lines that may cut into another one.
};
LAYOUT_OFFSET (LoggingLockBuffer, FirstLock, 0);
LAYOUT_OFFSET (LoggingLockBuffer, SecondLock, 8);
LAYOUT_SIZE (LoggingLockBuffer, 16);
