/// Hand-off blocks, in which earlier boot phases leave their results (PI 1.8, volume 3, HOB
/// code definitions).
///
/// A list starts with the phase hand-off block. Each block starts on an 8-byte boundary, directly
/// behind the one before it.
#pragma once

#include "Uefi/SystemTable.h"

inline constexpr UINT16 EFI_HOB_TYPE_HANDOFF = 0x0001;
inline constexpr UINT16 EFI_HOB_TYPE_MEMORY_ALLOCATION = 0x0002;
inline constexpr UINT16 EFI_HOB_TYPE_RESOURCE_DESCRIPTOR = 0x0003;
inline constexpr UINT16 EFI_HOB_TYPE_GUID_EXTENSION = 0x0004;
inline constexpr UINT16 EFI_HOB_TYPE_FV = 0x0005;
inline constexpr UINT16 EFI_HOB_TYPE_CPU = 0x0006;
inline constexpr UINT16 EFI_HOB_TYPE_END_OF_HOB_LIST = 0xFFFF;

/// A block's length in bytes is a multiple of this.
inline constexpr UINT16 EFI_HOB_ALIGNMENT = 8;

struct [[gnu::packed]] EFI_HOB_GENERIC_HEADER {
  UINT16 HobType;
  UINT16 HobLength; ///< In bytes, to the next block.
  UINT32 Reserved;  ///< 0.
};
LAYOUT_OFFSET (EFI_HOB_GENERIC_HEADER, HobType, 0x00);
LAYOUT_OFFSET (EFI_HOB_GENERIC_HEADER, HobLength, 0x02);
LAYOUT_OFFSET (EFI_HOB_GENERIC_HEADER, Reserved, 0x04);
LAYOUT_SIZE (EFI_HOB_GENERIC_HEADER, 8);

/// The phase hand-off block. Its pointers are addresses; a new block takes the place of the one
/// that ends the list and grows into the free memory from below.
struct [[gnu::packed]] EFI_HOB_HANDOFF_INFO_TABLE {
  EFI_HOB_GENERIC_HEADER Header;
  UINT32 Version;
  UINT32 BootMode;
  EFI_PHYSICAL_ADDRESS EfiMemoryTop;
  EFI_PHYSICAL_ADDRESS EfiMemoryBottom;
  EFI_PHYSICAL_ADDRESS EfiFreeMemoryTop;
  EFI_PHYSICAL_ADDRESS EfiFreeMemoryBottom;
  EFI_PHYSICAL_ADDRESS EfiEndOfHobList; ///< Of the block that ends the list.
};
LAYOUT_OFFSET (EFI_HOB_HANDOFF_INFO_TABLE, Version, 0x08);
LAYOUT_OFFSET (EFI_HOB_HANDOFF_INFO_TABLE, BootMode, 0x0C);
LAYOUT_OFFSET (EFI_HOB_HANDOFF_INFO_TABLE, EfiMemoryTop, 0x10);
LAYOUT_OFFSET (EFI_HOB_HANDOFF_INFO_TABLE, EfiMemoryBottom, 0x18);
LAYOUT_OFFSET (EFI_HOB_HANDOFF_INFO_TABLE, EfiFreeMemoryTop, 0x20);
LAYOUT_OFFSET (EFI_HOB_HANDOFF_INFO_TABLE, EfiFreeMemoryBottom, 0x28);
LAYOUT_OFFSET (EFI_HOB_HANDOFF_INFO_TABLE, EfiEndOfHobList, 0x30);
LAYOUT_SIZE (EFI_HOB_HANDOFF_INFO_TABLE, 56);

inline constexpr UINT32 EFI_HOB_HANDOFF_TABLE_VERSION = 0x0009;
inline constexpr UINT32 BOOT_WITH_FULL_CONFIGURATION = 0x00;

/// A block for whatever its name stands for. The data follows this record.
struct [[gnu::packed]] EFI_HOB_GUID_TYPE {
  EFI_HOB_GENERIC_HEADER Header;
  EFI_GUID Name;
};
LAYOUT_OFFSET (EFI_HOB_GUID_TYPE, Name, 0x08);
LAYOUT_SIZE (EFI_HOB_GUID_TYPE, 24);

/// The data of a GUID block, and its size in bytes as the block claims it.
struct HobData {
  VOID *Start; ///< Null where there is no block.
  UINTN Size;
};

/// The data of a GUID block that a search has found; of null, none.
inline HobData
DataOfGuidHob (VOID *Found)
{
  auto *Hob = static_cast<EFI_HOB_GUID_TYPE *> (Found);
  return Hob != nullptr ? HobData{Hob + 1, Hob->Header.HobLength - sizeof *Hob} : HobData{};
}

struct [[gnu::packed]] EFI_HOB_MEMORY_ALLOCATION {
  EFI_HOB_GENERIC_HEADER Header;
  EFI_GUID Name; ///< All zero for an allocation without a purpose of its own.
  EFI_PHYSICAL_ADDRESS MemoryBaseAddress;
  UINT64 MemoryLength;
  EFI_MEMORY_TYPE MemoryType;
  UINT8 Reserved[4];
};
LAYOUT_OFFSET (EFI_HOB_MEMORY_ALLOCATION, Name, 0x08);
LAYOUT_OFFSET (EFI_HOB_MEMORY_ALLOCATION, MemoryBaseAddress, 0x18);
LAYOUT_OFFSET (EFI_HOB_MEMORY_ALLOCATION, MemoryLength, 0x20);
LAYOUT_OFFSET (EFI_HOB_MEMORY_ALLOCATION, MemoryType, 0x28);
LAYOUT_SIZE (EFI_HOB_MEMORY_ALLOCATION, 48);

struct [[gnu::packed]] EFI_HOB_RESOURCE_DESCRIPTOR {
  EFI_HOB_GENERIC_HEADER Header;
  EFI_GUID Owner; ///< All zero for a resource without an owner.
  UINT32 ResourceType;
  UINT32 ResourceAttribute;
  EFI_PHYSICAL_ADDRESS PhysicalStart;
  UINT64 ResourceLength;
};
LAYOUT_OFFSET (EFI_HOB_RESOURCE_DESCRIPTOR, Owner, 0x08);
LAYOUT_OFFSET (EFI_HOB_RESOURCE_DESCRIPTOR, ResourceType, 0x18);
LAYOUT_OFFSET (EFI_HOB_RESOURCE_DESCRIPTOR, ResourceAttribute, 0x1C);
LAYOUT_OFFSET (EFI_HOB_RESOURCE_DESCRIPTOR, PhysicalStart, 0x20);
LAYOUT_OFFSET (EFI_HOB_RESOURCE_DESCRIPTOR, ResourceLength, 0x28);
LAYOUT_SIZE (EFI_HOB_RESOURCE_DESCRIPTOR, 48);

inline constexpr UINT32 EFI_RESOURCE_SYSTEM_MEMORY = 0x00000000;
inline constexpr UINT32 EFI_RESOURCE_ATTRIBUTE_PRESENT = 0x00000001;
inline constexpr UINT32 EFI_RESOURCE_ATTRIBUTE_INITIALIZED = 0x00000002;
inline constexpr UINT32 EFI_RESOURCE_ATTRIBUTE_TESTED = 0x00000004;

struct [[gnu::packed]] EFI_HOB_FIRMWARE_VOLUME {
  EFI_HOB_GENERIC_HEADER Header;
  EFI_PHYSICAL_ADDRESS BaseAddress;
  UINT64 Length;
};
LAYOUT_OFFSET (EFI_HOB_FIRMWARE_VOLUME, BaseAddress, 0x08);
LAYOUT_OFFSET (EFI_HOB_FIRMWARE_VOLUME, Length, 0x10);
LAYOUT_SIZE (EFI_HOB_FIRMWARE_VOLUME, 24);

struct [[gnu::packed]] EFI_HOB_CPU {
  EFI_HOB_GENERIC_HEADER Header;
  UINT8 SizeOfMemorySpace; ///< In address bits, as the next one.
  UINT8 SizeOfIoSpace;
  UINT8 Reserved[6];
};
LAYOUT_OFFSET (EFI_HOB_CPU, SizeOfMemorySpace, 0x08);
LAYOUT_OFFSET (EFI_HOB_CPU, SizeOfIoSpace, 0x09);
LAYOUT_SIZE (EFI_HOB_CPU, 16);
