/// What the ROM and the program that runs the emulated machine agree on, besides MemoryMap.h.
#pragma once

#include "Base.h"

/// Ports of the emulator's devices: what is written to the first is its log; the second ends it.
inline constexpr UINT16 DebugConsolePort = 0x402;
inline constexpr UINT16 DebugExitPort = 0xF4;

/// Files of the firmware configuration device.
inline constexpr CHAR8 VolumeSizeFile[] = "opt/velmora/volume-size";
inline constexpr CHAR8 QuietFile[] = "opt/velmora/quiet";
inline constexpr CHAR8 LogLevelsFile[] = "opt/velmora/log-levels";
inline constexpr CHAR8 InventoryFile[] = "opt/velmora/inventory";

/// Lines of the control channel: the boot is over, and how the answer to a command ends; what was
/// wrong follows the last.
inline constexpr CHAR8 ControlReady[] = "ready";
inline constexpr CHAR8 ControlDone[] = "done";
inline constexpr CHAR8 ControlError[] = "error: ";

/// The most that the ROM has tables for: processors, and drivers beside the other modules.
inline constexpr UINTN ProcessorMax = 16;
inline constexpr UINTN DriverMax = 16;
