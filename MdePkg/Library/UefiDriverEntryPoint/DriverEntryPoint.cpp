#include "UefiDriverEntryPoint.h"

#include "AutoGen.h"
#include "Protocol/LoadedImage.h"
#include "ProtocolLib.h"
#include "SmmDebugServiceLib.h"
#include "UefiBootServicesTableLib.h"

namespace {

constexpr SourceSite LoadedImageFound = {"MdePkg/Library/UefiDriverEntryPoint/DriverEntryPoint",
                                         116};

/// Makes the firmware call _DriverUnloadHandler before it drops the image.
VOID
HookUnloadHandler (EFI_HANDLE ImageHandle)
{
  VOID *Interface = nullptr;
  EFI_STATUS Status = EFI_UNSUPPORTED;
  if (gBS != nullptr) {
    Status = gBS->HandleProtocol (ImageHandle, &gEfiLoadedImageProtocolGuid, &Interface);
    Status = SearchStatus (Status, Interface);
  }
  ASSERT_EFI_ERROR (Status, LoadedImageFound);
  if (!EFI_ERROR (Status)) {
    static_cast<EFI_LOADED_IMAGE_PROTOCOL *> (Interface)->Unload = _DriverUnloadHandler;
  }
}

} // namespace

EFI_STATUS EFIAPI
_ModuleEntryPoint (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable)
{
  if (_gUefiDriverRevision != 0 && SystemTable->Hdr.Revision < _gUefiDriverRevision) {
    return EFI_INCOMPATIBLE_VERSION;
  }

  ProcessLibraryConstructorList (ImageHandle, SystemTable);
  if (_gDriverUnloadImageCount != 0) {
    HookUnloadHandler (ImageHandle);
  }

  const EFI_STATUS Status = ProcessModuleEntryPointList (ImageHandle, SystemTable);
  if (EFI_ERROR (Status)) {
    ProcessLibraryDestructorList (ImageHandle, SystemTable);
  }
  return Status;
}

EFI_STATUS EFIAPI
_DriverUnloadHandler (EFI_HANDLE ImageHandle)
{
  const EFI_STATUS Status = ProcessModuleUnloadList (ImageHandle);
  if (!EFI_ERROR (Status)) {
    ProcessLibraryDestructorList (ImageHandle, gST);
  }
  return Status;
}
