/// Failures on order: makes a chosen call of a service fail, and counts the calls that could.
#pragma once

#include "Base.h"

/// The services whose result a driver has to look at.
enum FirmwareService : UINT8 {
  ServiceBootAllocatePool,
  ServiceBootFreePool,
  ServiceBootHandleProtocol,
  ServiceBootLocateProtocol,
  ServiceSmmAllocatePool,
  ServiceSmmFreePool,
  ServiceSmmInstallProtocol,
  ServiceSmmRegisterNotify,
  ServiceSmmLocateProtocol,
  ServiceGetSmstLocation,
  ServiceRegisterListener,
  ServiceSendIpmiCommand,
  ServiceGetVariable,
  ServiceSetVariable,
  ServiceRegisterPolicy,
  ServiceWhoAmI,
  ServiceGetProcessorInfo,
  ServiceGetCapabilities,
  FirmwareServiceCount ///< How many there are.
};

/// The Call-th call since power-on ends in Status. Call 0 plans nothing.
struct PlannedFault {
  UINTN Call;
  EFI_STATUS Status;
};

/// What a test plans and what it finds. A planned error takes the place of the call's work: the
/// call has no effect, and what it would have given out is undefined. A planned warning comes back
/// from a call that did its work.
struct FaultPlan {
  PlannedFault Service[FirmwareServiceCount]; ///< Counts the calls of one service.
  PlannedFault AnyService;                    ///< Counts the calls of all services together.

  UINTN Calls[FirmwareServiceCount];   ///< Calls of each service since power-on.
  UINTN AllCalls;                      ///< Their sum.
  UINTN Planned[FirmwareServiceCount]; ///< Calls of each service that a plan has met.
};

extern "C" {

/// The plan of this boot; tests write to it while no driver runs.
extern FaultPlan gFaultPlan;

VOID FaultPlanReset ();

/// Plans that the Call-th call of Service from now on ends in Status; 1 is the next one.
VOID FaultPlanFail (FirmwareService Service, UINTN Call, EFI_STATUS Status);

/// Counts one call of Service. Returns an error with which the service shall fail at once, or
/// EFI_SUCCESS or a warning with which it shall come back when it has done its work.
EFI_STATUS FaultPlanCount (FirmwareService Service);
}

/// What a call that fails leaves where its result belongs: whoever uses it crashes.
inline VOID *
UndefinedPointer ()
{
  return reinterpret_cast<VOID *> (0xAFAFAFAFAFAFAFAF);
}
