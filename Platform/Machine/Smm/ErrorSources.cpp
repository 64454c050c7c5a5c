#include "ErrorSources.h"

namespace {

/// All sources, in the order in which they are asked; the last row has no function.
constexpr ErrorSource Sources[] = {{nullptr, nullptr}};

} // namespace

VOID
ServeErrorSources (UINTN Processor)
{
  for (const ErrorSource *Source = Sources; Source->Serve != nullptr; ++Source) {
    Source->Serve (Processor);
  }
}
