/// EFI_LOADED_IMAGE_PROTOCOL (UEFI 2.10, 9.1).
#pragma once

#include "Uefi/SystemTable.h"

inline constexpr EFI_GUID gEfiLoadedImageProtocolGuid = {
    0x5B1B31A1, 0x9562, 0x11D2, {0x8E, 0x3F, 0x00, 0xA0, 0xC9, 0x69, 0x72, 0x3B}};

using EFI_IMAGE_UNLOAD = EFI_STATUS (EFIAPI *) (EFI_HANDLE ImageHandle);

struct EFI_LOADED_IMAGE_PROTOCOL {
  UINT32 Revision;
  UINT32 Reserved0;
  EFI_HANDLE ParentHandle;
  EFI_SYSTEM_TABLE *SystemTable;
  EFI_HANDLE DeviceHandle;
  VOID *FilePath;
  VOID *Reserved;
  UINT32 LoadOptionsSize;
  UINT32 Reserved1;
  VOID *LoadOptions;
  VOID *ImageBase;
  UINT64 ImageSize;
  EFI_MEMORY_TYPE ImageCodeType;
  EFI_MEMORY_TYPE ImageDataType;
  EFI_IMAGE_UNLOAD Unload;
};
LAYOUT_OFFSET (EFI_LOADED_IMAGE_PROTOCOL, ImageBase, 0x40);
LAYOUT_OFFSET (EFI_LOADED_IMAGE_PROTOCOL, Unload, 0x58);
LAYOUT_SIZE (EFI_LOADED_IMAGE_PROTOCOL, 0x60);
