/// Status codes (PI 1.8, volume 3, 6).
#pragma once

#include "Base.h"

using EFI_STATUS_CODE_TYPE = UINT32;
using EFI_STATUS_CODE_VALUE = UINT32;

/// The kind of a status code stands in the low 8 bits of its type, its severity in the top 8.
inline constexpr EFI_STATUS_CODE_TYPE EFI_STATUS_CODE_TYPE_MASK = 0x000000FF;
inline constexpr EFI_STATUS_CODE_TYPE EFI_PROGRESS_CODE = 0x00000001;
inline constexpr EFI_STATUS_CODE_TYPE EFI_ERROR_CODE = 0x00000002;
inline constexpr EFI_STATUS_CODE_TYPE EFI_ERROR_MINOR = 0x40000000;
inline constexpr EFI_STATUS_CODE_TYPE EFI_ERROR_MAJOR = 0x80000000;

/// Header of the data of a status code. The data itself follows it.
struct [[gnu::packed]] EFI_STATUS_CODE_DATA {
  UINT16 HeaderSize;
  UINT16 Size;
  EFI_GUID Type;
};
LAYOUT_OFFSET (EFI_STATUS_CODE_DATA, Size, 2);
LAYOUT_OFFSET (EFI_STATUS_CODE_DATA, Type, 4);
LAYOUT_SIZE (EFI_STATUS_CODE_DATA, 20);

/// Type of status code data without a published type of its own (PI 1.8, volume 3, 6.6.2).
inline constexpr EFI_GUID gEfiStatusCodeSpecificDataGuid = {
    0x335984BD, 0xE805, 0x409A, {0xB8, 0xF8, 0xD2, 0x7E, 0xCE, 0x5F, 0xF7, 0xA6}};
