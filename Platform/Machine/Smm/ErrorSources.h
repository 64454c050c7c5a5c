/// Where hardware errors come from.
#pragma once

#include "Base.h"

/// One source. Serve is called in every SMI once drivers are loaded, on the processor that took it
/// and possibly on several at once: it looks for errors, reports each as a status code and clears
/// it. Who shares hardware with other processors takes a lock of its own for that, and holds none
/// while it reports.
struct ErrorSource {
  const CHAR8 *Name;
  VOID (*Serve) (UINTN Processor);
};

extern "C" {

/// Asks all sources.
VOID ServeErrorSources (UINTN Processor);
}
