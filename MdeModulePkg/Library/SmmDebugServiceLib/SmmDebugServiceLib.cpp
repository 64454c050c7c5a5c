#include "SmmDebugServiceLib.h"

#include "BaseLib.h"
#include "Machine.h"
#include "Protocol/SmmDebugService.h"
#include "ProtocolLib.h"

namespace {

/// The service's interface; null until found. Every processor that finds it writes the same value.
constinit SmmDebugServiceProtocol *mDebugService = nullptr;

/// Returns the service, or null when there is none yet. A search that failed is made again by the
/// next message; before gSmst is bound there is nowhere to search.
SmmDebugServiceProtocol *
FindDebugService ()
{
  SmmDebugServiceProtocol *Service = __atomic_load_n (&mDebugService, __ATOMIC_RELAXED);
  if (Service != nullptr) {
    return Service;
  }

  VOID *Interface = nullptr;
  if (EFI_ERROR (LocateSmmProtocol (&gSmmDebugServiceProtocolGuid, &Interface))) {
    return nullptr;
  }
  Service = static_cast<SmmDebugServiceProtocol *> (Interface);
  __atomic_store_n (&mDebugService, Service, __ATOMIC_RELAXED);
  return Service;
}

/// Whether the service wants the name of the module with each call.
bool
TakesModuleName (const SmmDebugServiceProtocol *Service)
{
  return Service->Revision > SMM_DEBUG_SERVICE_REVISION_UNNAMED;
}

} // namespace

VOID EFIAPI
DebugPrint (UINTN ErrorLevel, const CHAR8 *Format, ...)
{
  const SmmDebugServiceProtocol *Service = FindDebugService ();
  if (Service == nullptr || (ErrorLevel & PcdDebugPrintErrorLevel) == 0) {
    return;
  }

  VA_LIST Args;
  VA_START (Args, Format);
  if (TakesModuleName (Service)) {
    (void)Service->PrintWithName (ErrorLevel, gEfiCallerBaseName, Format, Args);
  } else {
    (void)Service->Print (ErrorLevel, Format, Args);
  }
  VA_END (Args);
}

VOID EFIAPI
DebugAssert (const CHAR8 *FileName, UINTN LineNumber, const CHAR8 *Description)
{
  const SmmDebugServiceProtocol *Service = FindDebugService ();
  if (Service == nullptr) {
    return;
  }

  if (TakesModuleName (Service)) {
    (void)Service->AssertWithName (gEfiCallerBaseName, FileName, LineNumber, Description);
  } else {
    (void)Service->Assert (FileName, LineNumber, Description);
  }

  if constexpr ((PcdDebugPropertyMask & DEBUG_PROPERTY_ASSERT_BREAKPOINT) != 0) {
    CpuBreakpoint ();
  } else if constexpr ((PcdDebugPropertyMask & DEBUG_PROPERTY_ASSERT_DEADLOOP) != 0) {
    CpuDeadLoop ();
  }
}
