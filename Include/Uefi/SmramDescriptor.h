/// One range of the SMRAM map (PI 1.8, volume 4, EFI_MMRAM_DESCRIPTOR).
#pragma once

#include "Base.h"

struct EFI_SMRAM_DESCRIPTOR {
  EFI_PHYSICAL_ADDRESS PhysicalStart; ///< As it appears in the memory map.
  EFI_PHYSICAL_ADDRESS CpuStart;      ///< As a processor addresses it.
  UINT64 PhysicalSize;                ///< In bytes.
  UINT64 RegionState;
};
LAYOUT_OFFSET (EFI_SMRAM_DESCRIPTOR, CpuStart, 8);
LAYOUT_OFFSET (EFI_SMRAM_DESCRIPTOR, PhysicalSize, 16);
LAYOUT_OFFSET (EFI_SMRAM_DESCRIPTOR, RegionState, 24);
LAYOUT_SIZE (EFI_SMRAM_DESCRIPTOR, 32);

/// Whether what a processor finds at Address lies in one of Count ranges.
inline BOOLEAN
IsInSmram (const EFI_SMRAM_DESCRIPTOR *Ranges, UINTN Count, EFI_PHYSICAL_ADDRESS Address)
{
  for (UINTN Index = 0; Index < Count; ++Index) {
    const EFI_SMRAM_DESCRIPTOR &Range = Ranges[Index];
    if (Range.CpuStart <= Address && Address < Range.CpuStart + Range.PhysicalSize) {
      return TRUE;
    }
  }
  return FALSE;
}
