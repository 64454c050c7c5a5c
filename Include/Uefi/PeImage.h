/// The PE32+ file format of an EFI image (UEFI 2.10, 2.1.1; Microsoft PE Format, revision 11).
///
/// A file is a DosHeader, and at its PeOffset a PeHeaders, then SectionCount times a SectionHeader.
/// Addresses are relative to the image's base unless they say otherwise.
#pragma once

#include "Base.h"

inline constexpr UINT16 DOS_SIGNATURE = 0x5A4D;
inline constexpr UINT32 PE_SIGNATURE = 0x00004550;
inline constexpr UINT16 PE_MACHINE_X64 = 0x8664;
inline constexpr UINT16 PE_MAGIC_PE32_PLUS = 0x020B;
inline constexpr UINT16 PE_SUBSYSTEM_EFI_BOOT_SERVICE_DRIVER = 11;

/// Bit of PeHeaders::Characteristics: the linker left no relocations, so the image has but one
/// place.
inline constexpr UINT16 PE_RELOCATIONS_STRIPPED = 0x0001;

inline constexpr UINT32 PE_DIRECTORY_COUNT = 16;
inline constexpr UINT32 PE_DIRECTORY_RELOCATION = 5;
inline constexpr UINT32 PE_DIRECTORY_DEBUG = 6;

/// Bits of SectionHeader::Characteristics.
inline constexpr UINT32 PE_SECTION_EXECUTE = 0x20000000;
inline constexpr UINT32 PE_SECTION_WRITE = 0x80000000;

/// Types of a relocation. Padding fills a block up to a multiple of four bytes.
inline constexpr UINT16 PE_RELOCATION_PADDING = 0;
inline constexpr UINT16 PE_RELOCATION_ADDRESS64 = 10;

struct [[gnu::packed]] DosHeader {
  UINT16 Signature;
  UINT8 Reserved0[58];
  UINT32 PeOffset;
};
LAYOUT_OFFSET (DosHeader, PeOffset, 0x3C);
LAYOUT_SIZE (DosHeader, 64);

struct [[gnu::packed]] PeDirectory {
  UINT32 Address;
  UINT32 Size;
};

struct [[gnu::packed]] PeHeaders {
  UINT32 Signature;
  UINT16 Machine;
  UINT16 SectionCount;
  UINT8 Reserved0[12];
  /// Bytes of the part that begins with Magic; the section headers follow it.
  UINT16 OptionalHeaderSize;
  UINT16 Characteristics;

  UINT16 Magic;
  UINT8 Reserved1[14];
  UINT32 EntryPoint;
  UINT8 Reserved2[4];
  /// The absolute address for which the file's pointers were made.
  UINT64 ImageBase;
  UINT32 SectionAlignment;
  UINT8 Reserved3[20];
  UINT32 ImageSize;
  UINT32 HeadersSize;
  UINT8 Reserved4[4];
  UINT16 Subsystem;
  UINT8 Reserved5[38];
  UINT32 DirectoryCount;
  PeDirectory Directories[PE_DIRECTORY_COUNT];
};
LAYOUT_OFFSET (PeHeaders, OptionalHeaderSize, 0x14);
LAYOUT_OFFSET (PeHeaders, Magic, 0x18);
LAYOUT_OFFSET (PeHeaders, EntryPoint, 0x28);
LAYOUT_OFFSET (PeHeaders, ImageBase, 0x30);
LAYOUT_OFFSET (PeHeaders, SectionAlignment, 0x38);
LAYOUT_OFFSET (PeHeaders, ImageSize, 0x50);
LAYOUT_OFFSET (PeHeaders, HeadersSize, 0x54);
LAYOUT_OFFSET (PeHeaders, Subsystem, 0x5C);
LAYOUT_OFFSET (PeHeaders, DirectoryCount, 0x84);
LAYOUT_OFFSET (PeHeaders, Directories, 0x88);
LAYOUT_SIZE (PeHeaders, 0x108);

struct [[gnu::packed]] SectionHeader {
  /// ASCII, filled up with NULs; eight characters have none.
  CHAR8 Name[8];
  /// Bytes in memory. What the file does not fill is zero.
  UINT32 MemorySize;
  UINT32 Address;
  UINT32 FileSize;
  UINT32 FileOffset;
  UINT8 Reserved0[12];
  UINT32 Characteristics;
};
LAYOUT_OFFSET (SectionHeader, MemorySize, 8);
LAYOUT_OFFSET (SectionHeader, Address, 12);
LAYOUT_OFFSET (SectionHeader, FileSize, 16);
LAYOUT_OFFSET (SectionHeader, FileOffset, 20);
LAYOUT_OFFSET (SectionHeader, Characteristics, 36);
LAYOUT_SIZE (SectionHeader, 40);

/// Head of one block of relocations. The entries follow it, 16 bits each: the type in the top four,
/// the offset from Page in the rest.
struct [[gnu::packed]] RelocationBlock {
  UINT32 Page;
  /// Bytes of the block with this head.
  UINT32 Size;
};
LAYOUT_SIZE (RelocationBlock, 8);
