#include "CpuService.h"

#include "FaultPlan.h"
#include "FirmwareWorld.h"
#include "ProtocolDatabase.h"
#include "UnprovidedService.h"

constinit EFI_SMM_CPU_SERVICE_PROTOCOL gCpuService = {};

namespace {

constexpr ServiceName CpuService = "the CPU service has no ";

/// The processor is enabled and healthy (PI 1.8, volume 2, 13.4).
constexpr UINT32 PROCESSOR_ENABLED_BIT = 0x00000002;
constexpr UINT32 PROCESSOR_HEALTH_STATUS_BIT = 0x00000004;

VOID
RequireInterface (const EFI_SMM_CPU_SERVICE_PROTOCOL *This)
{
  if (This != &gCpuService) {
    FirmwareFault ("the CPU service was called with an unknown interface");
  }
}

EFI_STATUS EFIAPI
GetProcessorInfo (const EFI_SMM_CPU_SERVICE_PROTOCOL *This,
                  UINTN ProcessorNumber,
                  EFI_PROCESSOR_INFORMATION *ProcessorInfoBuffer)
{
  RequireInterface (This);
  const EFI_STATUS Planned = FaultPlanCount (ServiceGetProcessorInfo);
  if (EFI_ERROR (Planned)) {
    return Planned;
  }
  if (ProcessorInfoBuffer == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (ProcessorNumber >= gWorld.NumberOfProcessors) {
    return EFI_NOT_FOUND;
  }
  const ProcessorPlace Place = gWorld.PlaceOfProcessor (gWorld.Context, ProcessorNumber);
  *ProcessorInfoBuffer = {
      .ProcessorId = Place.ProcessorId,
      .StatusFlag = PROCESSOR_ENABLED_BIT | PROCESSOR_HEALTH_STATUS_BIT,
      .Location = {.Package = Place.Package, .Core = Place.Core, .Thread = Place.Thread},
      .ExtendedInformation = {},
  };
  return Planned;
}

EFI_STATUS EFIAPI
WhoAmI (const EFI_SMM_CPU_SERVICE_PROTOCOL *This, UINTN *ProcessorNumber)
{
  RequireInterface (This);
  const EFI_STATUS Planned = FaultPlanCount (ServiceWhoAmI);
  if (ProcessorNumber == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (EFI_ERROR (Planned)) {
    *ProcessorNumber = ~UINTN{0}; // A failed call may leave anything behind.
    return Planned;
  }
  *ProcessorNumber = gWorld.ExecutingProcessor (gWorld.Context);
  return Planned;
}

} // namespace

VOID
CpuServiceReset ()
{
  gCpuService = {
      .GetProcessorInfo = GetProcessorInfo,
      .SwitchBsp = UNPROVIDED (CpuService, SwitchBsp),
      .AddProcessor = UNPROVIDED (CpuService, AddProcessor),
      .RemoveProcessor = UNPROVIDED (CpuService, RemoveProcessor),
      .WhoAmI = WhoAmI,
      .RegisterExceptionHandler = UNPROVIDED (CpuService, RegisterExceptionHandler),
  };
  ProtocolPublish (ProtocolSmm, &gEfiSmmCpuServiceProtocolGuid, &gCpuService);
}
