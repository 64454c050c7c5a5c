#include "FaultPlan.h"

#include "WritableWhenLocked.h"

WRITABLE_WHEN_LOCKED constinit FaultPlan gFaultPlan = {};

namespace {

/// Counts one call. Returns whether it is the one that Fault speaks of.
bool
IsPlanned (UINTN *Calls, const PlannedFault &Fault)
{
  return __atomic_add_fetch (Calls, 1, __ATOMIC_RELAXED) == Fault.Call;
}

} // namespace

VOID
FaultPlanReset ()
{
  gFaultPlan = {};
}

VOID
FaultPlanFail (FirmwareService Service, UINTN Call, EFI_STATUS Status)
{
  gFaultPlan.Service[Service] = {.Call = gFaultPlan.Calls[Service] + Call, .Status = Status};
}

EFI_STATUS
FaultPlanCount (FirmwareService Service)
{
  const PlannedFault &OfService = gFaultPlan.Service[Service];
  const PlannedFault &OfAny = gFaultPlan.AnyService;
  const bool PlannedForService = IsPlanned (&gFaultPlan.Calls[Service], OfService);
  const bool PlannedForAny = IsPlanned (&gFaultPlan.AllCalls, OfAny);
  if (!PlannedForService && !PlannedForAny) {
    return EFI_SUCCESS;
  }
  __atomic_add_fetch (&gFaultPlan.Planned[Service], 1, __ATOMIC_RELAXED);
  return PlannedForService ? OfService.Status : OfAny.Status;
}
