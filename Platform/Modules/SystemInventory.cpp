/// An SMM module that publishes the system inventory which the firmware of the emulated machine
/// holds: on a real platform, what brings the inventory comes late as well.

#include "HeldInventory.h"
#include "Protocol/SmmBase2.h"
#include "Record/Inventory.h"

extern "C" EFI_STATUS EFIAPI _ModuleEntryPoint (EFI_HANDLE ImageHandle,
                                                EFI_SYSTEM_TABLE *SystemTable);

EFI_STATUS EFIAPI
_ModuleEntryPoint (EFI_HANDLE, EFI_SYSTEM_TABLE *SystemTable)
{
  VOID *Interface = nullptr;
  EFI_STATUS Status =
      SystemTable->BootServices->LocateProtocol (&gEfiSmmBase2ProtocolGuid, nullptr, &Interface);
  if (EFI_ERROR (Status)) {
    return Status;
  }
  const auto *Base = static_cast<const EFI_SMM_BASE2_PROTOCOL *> (Interface);
  EFI_SMM_SYSTEM_TABLE2 *Smst = nullptr;
  Status = Base->GetSmstLocation (Base, &Smst);
  if (EFI_ERROR (Status)) {
    return Status;
  }
  Status = Smst->SmmLocateProtocol (&gHeldInventoryProtocolGuid, nullptr, &Interface);
  if (EFI_ERROR (Status)) {
    return Status;
  }
  EFI_HANDLE Handle = nullptr;
  return Smst->SmmInstallProtocolInterface (&Handle, &gOrvSmmSystemInventoryInfoProtocolGuid,
                                            EFI_NATIVE_INTERFACE, Interface);
}
