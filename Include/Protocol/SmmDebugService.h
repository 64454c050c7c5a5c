/// The SMM debug service: prints the messages and assertions of all SMM drivers.
#pragma once

#include "Base.h"

inline constexpr EFI_GUID gSmmDebugServiceProtocolGuid = {
    0x441FFA18, 0x8714, 0x421E, {0x8C, 0x95, 0x58, 0x70, 0x80, 0x79, 0x6F, 0xEE}};

/// The highest revision whose clients do not pass the name of their module.
inline constexpr UINT64 SMM_DEBUG_SERVICE_REVISION_UNNAMED = 0x10000;

/// All texts are ASCII with a NUL and belong to the caller. Args is the argument list of Format.
/// The driver ignores all four results.
struct SmmDebugServiceProtocol {
  UINT64 Revision;
  EFI_STATUS (EFIAPI *Print) (UINTN ErrorLevel, const CHAR8 *Format, VA_LIST Args);
  EFI_STATUS (EFIAPI *Assert) (const CHAR8 *FileName, UINTN LineNumber, const CHAR8 *Description);
  EFI_STATUS (EFIAPI *PrintWithName)
  (UINTN ErrorLevel, const CHAR8 *ModuleName, const CHAR8 *Format, VA_LIST Args);
  VOID *Reserved;
  EFI_STATUS (EFIAPI *AssertWithName)
  (const CHAR8 *ModuleName, const CHAR8 *FileName, UINTN LineNumber, const CHAR8 *Description);
};
LAYOUT_OFFSET (SmmDebugServiceProtocol, Print, 8);
LAYOUT_OFFSET (SmmDebugServiceProtocol, Assert, 16);
LAYOUT_OFFSET (SmmDebugServiceProtocol, PrintWithName, 24);
LAYOUT_OFFSET (SmmDebugServiceProtocol, AssertWithName, 40);
LAYOUT_SIZE (SmmDebugServiceProtocol, 48);
