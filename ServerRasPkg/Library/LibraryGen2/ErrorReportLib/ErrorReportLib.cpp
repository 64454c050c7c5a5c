#include "ErrorReportLib.h"

#include "BaseMemoryLibOptDxe.h"
#include "BaseSynchronizationLib.h"
#include "ProtocolLib.h"
#include "RasDebugLib.h"
#include "Record/RasGlobalData.h"
#include "SmmDebugServiceLib.h"
#include "SmmMpExtensionLib.h"
#include "SmmRasGlobalDataLib.h"

namespace {

constexpr CHAR8 SourceFile[] = "ServerRasPkg/Library/LibraryGen2/ErrorReportLib/ErrorReportLib";
constexpr SourceSite RouterLocated = {SourceFile, 139};
constexpr SourceSite CpuServiceLocated = {SourceFile, 142};
constexpr SourceSite ListenerRegistered = {SourceFile, 179};

/// The status-code router; null until bound. It belongs to its producer.
constinit EFI_SMM_RSC_HANDLER_PROTOCOL *mRscHandlerProtocol = nullptr;

/// The shared record lists, null if there are none, and a lock of this driver's own for each: the
/// locks order nothing between drivers.
constinit VOID *mMemErrorRecordList = nullptr;
constinit SPIN_LOCK mMemErrorRecordListLock = 0;
constinit VOID *mProcessorErrorRecordList = nullptr;
constinit SPIN_LOCK mProcessorErrorRecordListLock = 0;

/// Tells the RAS debug log what came of a step.
VOID
LogStatus (const CHAR8 *FunctionName, EFI_STATUS Status)
{
  RasDebugPrint (RAS_DEBUG_FLOW, "%a, %r\n", FunctionName, Status);
}

/// Finds a record list, or makes one of Size zero bytes. Returns null if there is none.
VOID *
FindRecordList (const CHAR16 *Name, UINTN Size)
{
  BOOLEAN NewBuffer = FALSE;
  VOID *List = GetRasGlobalData (Name, Size, &NewBuffer);
  if (NewBuffer) {
    ZeroMem (List, Size);
  }
  return List;
}

} // namespace

EFI_STATUS EFIAPI
InitializeErrorReportLib (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  VOID *Interface = nullptr;
  EFI_STATUS Status = LocateSmmProtocol (&gEfiSmmRscHandlerProtocolGuid, &Interface);
  mRscHandlerProtocol = static_cast<EFI_SMM_RSC_HANDLER_PROTOCOL *> (Interface);
  LogStatus ("InitializeErrorReportLib", Status);
  ASSERT_EFI_ERROR (Status, RouterLocated);

  Status = BindSmmCpuService ();
  ASSERT_EFI_ERROR (Status, CpuServiceLocated);
  LogStatus ("InitializeErrorReportLib", Status);

  InitializeSpinLock (&mMemErrorRecordListLock);
  mMemErrorRecordList = FindRecordList (MemErrorRecordListName, MEM_ERROR_RECORD_LIST_SIZE);
  InitializeSpinLock (&mProcessorErrorRecordListLock);
  mProcessorErrorRecordList =
      FindRecordList (ProcessorErrorRecordListName, PROCESSOR_ERROR_RECORD_LIST_SIZE);
  return EFI_SUCCESS;
}

EFI_STATUS
RegisterErrorLogListener (EFI_SMM_RSC_HANDLER_CALLBACK Callback)
{
  const EFI_STATUS Status =
      mRscHandlerProtocol != nullptr ? mRscHandlerProtocol->Register (Callback) : EFI_NOT_READY;
  LogStatus ("RegisterErrorLogListener", Status);
  ASSERT_EFI_ERROR (Status, ListenerRegistered);
  return Status;
}
