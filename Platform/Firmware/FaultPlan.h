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
};
inline constexpr UINTN FirmwareServiceCount = 12;

/// "The Call-th call from power-on fails with Status." Call 0 plans nothing.
struct PlannedFault {
  UINTN Call = 0;
  EFI_STATUS Status = EFI_DEVICE_ERROR;
};

/// What a test plans and what it finds. A call that fails by plan has no effect but its status, and
/// leaves undefined what it would have given out.
struct FaultPlan {
  PlannedFault Service[FirmwareServiceCount]; ///< Counts the calls of one service.
  PlannedFault AnyService;                    ///< Counts the calls of all services together.

  UINTN Calls[FirmwareServiceCount];  ///< Calls of each service since power-on.
  UINTN AllCalls;                     ///< Their sum.
  UINTN Failed[FirmwareServiceCount]; ///< Calls of each service that failed by plan.
};

extern "C" {

extern FaultPlan gFaultPlan;

/// Counts one call of Service. Returns EFI_SUCCESS when the service shall do its work, else the
/// planned status with which it shall fail.
EFI_STATUS FaultPlanCount (FirmwareService Service);
}

/// Stands in a result that a failed call does not give: whoever uses it as a pointer faults.
inline constexpr UINT64 UndefinedResult = 0xAFAFAFAFAFAFAFAF;
