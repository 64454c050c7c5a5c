/// A driver that an error record with the first letter a stops in an assertion.

#include "Machine.h"
#include "Protocol/SmmBase2.h"
#include "Protocol/SmmDebugService.h"
#include "Protocol/SmmRscHandler.h"
#include "Uefi/SmmSystemTable.h"

namespace {

constinit EFI_SMM_SYSTEM_TABLE2 *mSmst = nullptr;

template <typename Protocol>
Protocol *
Locate (const EFI_GUID &Guid)
{
  VOID *Interface = nullptr;
  mSmst->SmmLocateProtocol (&Guid, nullptr, &Interface);
  return static_cast<Protocol *> (Interface);
}

EFI_STATUS EFIAPI
Listen (EFI_STATUS_CODE_TYPE, EFI_STATUS_CODE_VALUE, UINT32, EFI_GUID *, EFI_STATUS_CODE_DATA *Data)
{
  if (*reinterpret_cast<const UINT8 *> (Data + 1) == 'a') {
    Locate<SmmDebugServiceProtocol> (gSmmDebugServiceProtocolGuid)
        ->AssertWithName ("TestDriver", "Test/Driver", 12, "Some != Other");
    for (;;) {
      CpuPause ();
    }
  }
  return EFI_SUCCESS;
}

} // namespace

extern "C" EFI_STATUS EFIAPI
_ModuleEntryPoint (EFI_HANDLE, EFI_SYSTEM_TABLE *SystemTable)
{
  VOID *Base = nullptr;
  SystemTable->BootServices->LocateProtocol (&gEfiSmmBase2ProtocolGuid, nullptr, &Base);
  const auto *SmmBase = static_cast<const EFI_SMM_BASE2_PROTOCOL *> (Base);
  SmmBase->GetSmstLocation (SmmBase, &mSmst);
  return Locate<EFI_SMM_RSC_HANDLER_PROTOCOL> (gEfiSmmRscHandlerProtocolGuid)->Register (Listen);
}
