#include "LoadedImages.h"

#include "BootServices.h"
#include "Firmware.h"
#include "ProtocolDatabase.h"

namespace {

constexpr UINT32 LoadedImageRevision = 0x1000; // UEFI 2.10, 9.1

constinit EFI_LOADED_IMAGE_PROTOCOL mImages[ImageMax] = {};
constinit UINTN mImageCount = 0;

} // namespace

VOID
LoadedImagesReset ()
{
  mImageCount = 0;
}

EFI_HANDLE
FirmwareAddImage (VOID *ImageBase, UINT64 ImageSize)
{
  if (mImageCount == ImageMax) {
    FirmwareFault ("more images than the firmware holds");
  }
  EFI_LOADED_IMAGE_PROTOCOL *Image = &mImages[mImageCount++];
  *Image = {};
  Image->Revision = LoadedImageRevision;
  Image->SystemTable = &gSystemTable;
  Image->ImageBase = ImageBase;
  Image->ImageSize = ImageSize;
  Image->ImageCodeType = EfiRuntimeServicesCode;
  Image->ImageDataType = EfiRuntimeServicesData;
  return ProtocolPublish (ProtocolBoot, &gEfiLoadedImageProtocolGuid, Image);
}
