/// The static pointer table: where the host structures lie that earlier boot phases have left, safe
/// to use in SMM. All SMM drivers of a boot share one table.
#pragma once

#include "Uefi/SmramDescriptor.h"

/// The protocol whose interface is the table.
inline constexpr EFI_GUID gStaticPointerTableProtocolGuid = {
    0xB0D35B3D, 0x8673, 0x4DFE, {0xB8, 0x75, 0x85, 0x6E, 0x79, 0x9D, 0xDD, 0x99}};

/// The HOB whose data are the earlier phases' own pointers, in the order of the slots.
inline constexpr EFI_GUID gStaticPointerHobGuid = {
    0xA6A8D25B, 0xFAB2, 0x411A, {0x98, 0x77, 0xFE, 0x9F, 0xE4, 0x07, 0xC7, 0xBA}};

/// Slots of the table. The others have pointers too, but no names.
enum StaticPointerType : UINT8 {
  SptSysHost = 0,
  SptHbmHost = 1,
  SptSysInfoVar = 2,
  SptSysSetup = 3,
  SptSemaphoreData = 4,
  SptSpdData = 5,
  SptDebugData = 6,
  SptMemMapHost = 7,
  SptEmulationSetting = 9,
  SptCpuAndRevision = 10,
  SptMrcPerformanceData = 11,
  SptCpgcHost = 12,
};
inline constexpr UINTN STATIC_POINTER_COUNT = 16;

/// The head of the table. SmramRangeCount descriptors follow it: StaticPointerTableRanges.
struct StaticPointerTable {
  UINT8 Sanitized; ///< 1 once no pointer leads outside SMRAM any more.
  UINT8 Reserved0[7];
  UINT64 Pointers[STATIC_POINTER_COUNT]; ///< 0 where there is nothing, or nothing safe.
  UINT8 Reserved1[384];                  ///< Left to other drivers.
  UINT32 SmramRangeCount;
  UINT8 Reserved2[4];
};
LAYOUT_OFFSET (StaticPointerTable, Pointers, 8);
LAYOUT_OFFSET (StaticPointerTable, Reserved1, 136);
LAYOUT_OFFSET (StaticPointerTable, SmramRangeCount, 520);
LAYOUT_SIZE (StaticPointerTable, 528);

inline EFI_SMRAM_DESCRIPTOR *
StaticPointerTableRanges (StaticPointerTable *Table)
{
  return reinterpret_cast<EFI_SMRAM_DESCRIPTOR *> (Table + 1);
}

/// The data of the HOB.
struct [[gnu::packed]] StaticPointerHobData {
  UINT64 Pointers[STATIC_POINTER_COUNT];
};
LAYOUT_SIZE (StaticPointerHobData, 128);

/// A block with this signature may be copied into SMRAM.
inline constexpr EFI_GUID gStaticPointerBlockGuid = {
    0xD0EE5959, 0xBAE6, 0x4709, {0xAA, 0x2B, 0x55, 0xBE, 0x90, 0x57, 0x65, 0x6D}};

/// The head of a block to which a pointer of the HOB leads, if it has one at all.
struct [[gnu::packed]] StaticPointerBlockHeader {
  EFI_GUID Signature;
  UINT16 Size; ///< Of the whole block with this head, in bytes.
  UINT8 Reserved[2];
};
LAYOUT_OFFSET (StaticPointerBlockHeader, Size, 16);
LAYOUT_SIZE (StaticPointerBlockHeader, 20);
