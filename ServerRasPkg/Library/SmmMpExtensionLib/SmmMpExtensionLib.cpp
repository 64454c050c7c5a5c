#include "SmmMpExtensionLib.h"

#include "ProtocolLib.h"
#include "RasDebugLib.h"
#include "SmmDebugServiceLib.h"
#include "SmmMemoryAllocationLib.h"

constinit EFI_SMM_CPU_SERVICE_PROTOCOL *mSmmCpuService = nullptr;

namespace {

constexpr CHAR8 SourceFile[] = "ServerRasPkg/Library/SmmMpExtensionLib/SmmMpExtensionLib";
constexpr SourceSite ServiceLocated = {SourceFile, 52};
constexpr SourceSite ServiceNotNull = {SourceFile, 53};
constexpr SourceSite TableNotNull = {SourceFile, 58};
constexpr SourceSite IndexKnown = {SourceFile, 87};
constexpr SourceSite InformationKnown = {SourceFile, 94};

constexpr UINTN MaxLogicalProcessors = 1024;

/// What the table of processors holds of each is not fixed: nothing in this driver fills it.
struct ProcessorEntry {
  UINT8 Reserved[24];
};
LAYOUT_SIZE (ProcessorEntry, 24);

constinit VOID *mMpExtensionBuffer = nullptr;

} // namespace

EFI_STATUS EFIAPI
SmmMpExtensionLibConstructor (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  const EFI_STATUS Status = BindSmmCpuService ();
  ASSERT_EFI_ERROR (Status, ServiceLocated);
  RAS_ASSERT (mSmmCpuService != nullptr, ServiceNotNull);

  mMpExtensionBuffer = AllocatePool (MaxLogicalProcessors * sizeof (ProcessorEntry));
  RAS_ASSERT (mMpExtensionBuffer != nullptr, TableNotNull);
  return EFI_SUCCESS;
}

EFI_STATUS
BindSmmCpuService ()
{
  VOID *Interface = nullptr;
  const EFI_STATUS Status = SearchSmmProtocol (&gEfiSmmCpuServiceProtocolGuid, &Interface);
  if (Interface != nullptr) {
    mSmmCpuService = static_cast<EFI_SMM_CPU_SERVICE_PROTOCOL *> (Interface);
  }
  return Status;
}

UINTN
GetCurrentProcessorLocation (CpuLocation *Location)
{
  const EFI_SMM_CPU_SERVICE_PROTOCOL *Service = mSmmCpuService;
  UINTN Index = 0;
  const EFI_STATUS IndexStatus =
      Service != nullptr ? Service->WhoAmI (Service, &Index) : EFI_NOT_READY;
  ASSERT_EFI_ERROR (IndexStatus, IndexKnown);
  if (EFI_ERROR (IndexStatus)) {
    Index = 0;
  }
  if (Location == nullptr) {
    return Index;
  }

  EFI_PROCESSOR_INFORMATION Information = {};
  const EFI_STATUS Status =
      Service != nullptr ? Service->GetProcessorInfo (Service, Index, &Information) : EFI_NOT_READY;
  ASSERT_EFI_ERROR (Status, InformationKnown);
  if (EFI_ERROR (IndexStatus) || EFI_ERROR (Status)) {
    *Location = {};
    return Index;
  }
  Location->ProcessorId = static_cast<UINT32> (Information.ProcessorId);
  Location->Package = Information.Location.Package;
  Location->Core = Information.Location.Core;
  Location->Thread = Information.Location.Thread;
  return Index;
}
