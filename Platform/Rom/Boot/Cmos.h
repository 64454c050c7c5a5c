/// The first bank of CMOS RAM.
#pragma once

#include "Machine.h"

inline constexpr UINT16 CmosIndexPort = 0x70;
inline constexpr UINT16 CmosDataPort = 0x71;

/// What the emulator tells there: RAM above 16 MiB in units of 64 KiB, and the number of processors
/// less one.
inline constexpr UINT8 CmosMemoryLow = 0x34;
inline constexpr UINT8 CmosMemoryHigh = 0x35;
inline constexpr UINT8 CmosProcessors = 0x5F;

/// Registers of the first bank, by ports that other processors must not use meanwhile.
inline UINT8
ReadCmos (UINT8 Index)
{
  IoWrite8 (CmosIndexPort, Index);
  return IoRead8 (CmosDataPort);
}

inline VOID
WriteCmos (UINT8 Index, UINT8 Value)
{
  IoWrite8 (CmosIndexPort, Index);
  IoWrite8 (CmosDataPort, Value);
}
