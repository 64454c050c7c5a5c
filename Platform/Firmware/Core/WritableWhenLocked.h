/// The mark of what changes while errors are served.
#pragma once

/// Stands ahead of a variable that may be written after SmmReadyToLock. On the emulated machine all
/// other variables of the firmware are read-only from then on: whoever writes one raises a page
/// fault.
#define WRITABLE_WHEN_LOCKED [[gnu::section (".working")]]
