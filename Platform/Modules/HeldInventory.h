/// The emulated machine's system inventory, which its firmware holds back until the module that
/// publishes it has been started: so that a driver has something to wait for.
#pragma once

#include "Base.h"

/// Installed in SMM by the firmware, with the InventoryInfo as its interface.
inline constexpr EFI_GUID gHeldInventoryProtocolGuid = {
    0x5C2B4A0E, 0x93D1, 0x4B7F, {0xA6, 0x18, 0x0D, 0x3E, 0x72, 0x94, 0xC5, 0x4A}};

/// Name of the module's file in a volume.
inline constexpr EFI_GUID gSystemInventoryFileGuid = {
    0xB9EC51B3, 0x349C, 0x41F5, {0xBF, 0x7C, 0xD8, 0xF2, 0x6E, 0x87, 0x33, 0x08}};
