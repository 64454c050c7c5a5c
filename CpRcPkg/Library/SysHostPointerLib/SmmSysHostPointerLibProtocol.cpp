#include "Protocol/SmmReadyToLock.h"
#include "ProtocolLib.h"
#include "SysHostPointerLibInternal.h"

constinit StaticPointerTable *mPrivate = nullptr;
constinit const CHAR8 *mPointerTypeName[STATIC_POINTER_COUNT] = {};

namespace {

constexpr SourceSite NotifyRegistered = {SysHostPointerSourceFile, 483};
constexpr AssertionSite TableBound = {SysHostPointerSourceFile, 487, TableNotNullText};
constexpr SourceSite NotifyRemoved = {SysHostPointerSourceFile, 534};

/// The notification of SmmReadyToLock; null while none is registered.
constinit VOID *mReadyToLockRegistration = nullptr;

struct SlotName {
  StaticPointerType Slot;
  const CHAR8 *Name;
};

constexpr SlotName SlotNames[] = {
    {SptSysHost, "SptSysHost"},
    {SptHbmHost, "SptHbmHost"},
    {SptSysInfoVar, "SptSysInfoVar"},
    {SptSysSetup, "SptSysSetup"},
    {SptSemaphoreData, "SptSemaphoreData"},
    {SptSpdData, "SptSpdData"},
    {SptDebugData, "SptDebugData"},
    {SptMemMapHost, "SptMemMapHost"},
    {SptEmulationSetting, "SptEmulationSetting"},
    {SptCpuAndRevision, "SptCpuAndRevision"},
    {SptMrcPerformanceData, "SptMrcPerformanceData"},
    {SptCpgcHost, "SptCpgcHost"},
};
static_assert (ArrayCount (SlotNames) == 12);

/// Binds the table that stands in the protocol database, or builds it.
EFI_STATUS
BindOrBuildTable ()
{
  VOID *Interface = nullptr;
  if (EFI_ERROR (SearchSmmProtocol (&gStaticPointerTableProtocolGuid, &Interface))) {
    return InitializeStaticPointers ();
  }
  mPrivate = static_cast<StaticPointerTable *> (Interface);
  return EFI_SUCCESS;
}

} // namespace

EFI_STATUS EFIAPI
SmmSysHostPointerLibProtocolConstructor (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  DEBUG (DEBUG_VERBOSE, "%a: In SmmSysHostPointerLibProtocolConstructor\n", gEfiCallerBaseName);
  if (DebugCodeEnabled ()) {
    for (const SlotName &Each : SlotNames) {
      mPointerTypeName[Each.Slot] = Each.Name;
    }
  }

  EFI_STATUS Status = BindOrBuildTable ();
  if (EFI_ERROR (Status)) {
    return Status;
  }
  Status = RegisterSmmNotify (&gEfiSmmReadyToLockProtocolGuid, SanitizeStaticPointers,
                              &mReadyToLockRegistration);
  if (EFI_ERROR (Status)) {
    DEBUG (DEBUG_ERROR, "ERROR: %a: Unable to register notify for SmmReadyToLock: %r\n",
           gEfiCallerBaseName, Status);
    ASSERT_EFI_ERROR (Status, NotifyRegistered);
    return Status;
  }
  ASSERT (mPrivate != nullptr, TableBound);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
SmmSysHostPointerLibProtocolDestructor (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  DEBUG (DEBUG_VERBOSE, "%a: In SmmSysHostPointerLibProtocolDestructor\n", gEfiCallerBaseName);
  const EFI_STATUS Status =
      UnregisterSmmNotify (&gEfiSmmReadyToLockProtocolGuid, &mReadyToLockRegistration);
  if (EFI_ERROR (Status)) {
    DEBUG (DEBUG_ERROR, "ERROR: %a: Unable to unregister notify for SmmReadyToLock: %r\n",
           gEfiCallerBaseName, Status);
    ASSERT_EFI_ERROR (Status, NotifyRemoved);
  }
  return Status;
}
