/// Firmware volumes, the files in them and the sections of a file (PI 1.8, volume 3, 2.1 and 3.2),
/// and the opcodes of a dependency expression (PI 1.8, volume 2, 10.7).
///
/// A volume is its header and files, each of which begins at a multiple of 8 bytes; what is free
/// behind them holds the volume's erase value. A file is its header and sections, each of which
/// begins at a multiple of 4 bytes from the first.
#pragma once

#include "Base.h"

inline constexpr EFI_GUID gEfiFirmwareFileSystem2Guid = {
    0x8C8CE578, 0x8A3D, 0x4F1C, {0x99, 0x35, 0x89, 0x61, 0x85, 0xC3, 0x2D, 0xD3}};

inline constexpr UINT32 EFI_FVH_SIGNATURE = 0x4856465F; // "_FVH"
inline constexpr UINT8 EFI_FVH_REVISION = 2;
inline constexpr UINTN EFI_FV_FILE_ALIGNMENT = 8;

/// What is erased, where that is ones.
inline constexpr UINT8 FFS_ERASED_BYTE = 0xFF;

/// Bit of EFI_FIRMWARE_VOLUME_HEADER::Attributes: what is erased is ones.
inline constexpr UINT32 EFI_FVB2_ERASE_POLARITY = 0x00000800;
/// What a volume on flash without locks or alignment of its own has of them.
inline constexpr UINT32 EFI_FVB2_USUAL_ATTRIBUTES = 0x0004FEFF;

struct [[gnu::packed]] EFI_FV_BLOCK_MAP_ENTRY {
  UINT32 NumBlocks;
  UINT32 Length; ///< Bytes of one block.
};

/// The block map goes on up to HeaderLength; its last entry is zero.
struct [[gnu::packed]] EFI_FIRMWARE_VOLUME_HEADER {
  UINT8 ZeroVector[16];
  EFI_GUID FileSystemGuid;
  UINT64 FvLength; ///< Bytes of the volume with this header.
  UINT32 Signature;
  UINT32 Attributes;
  UINT16 HeaderLength;
  UINT16 Checksum;        ///< All 16-bit words of the header add up to 0.
  UINT16 ExtHeaderOffset; ///< From the volume's start; 0 without an extended header.
  UINT8 Reserved;
  UINT8 Revision;
  EFI_FV_BLOCK_MAP_ENTRY BlockMap[1];
};
LAYOUT_OFFSET (EFI_FIRMWARE_VOLUME_HEADER, FvLength, 32);
LAYOUT_OFFSET (EFI_FIRMWARE_VOLUME_HEADER, Signature, 40);
LAYOUT_OFFSET (EFI_FIRMWARE_VOLUME_HEADER, Checksum, 50);
LAYOUT_OFFSET (EFI_FIRMWARE_VOLUME_HEADER, Revision, 55);
LAYOUT_SIZE (EFI_FIRMWARE_VOLUME_HEADER, 64);

/// Types of a file.
inline constexpr UINT8 EFI_FV_FILETYPE_MM = 0x0A;
inline constexpr UINT8 EFI_FV_FILETYPE_FFS_PAD = 0xF0;

/// Bits of EFI_FFS_FILE_HEADER::Attributes.
inline constexpr UINT8 FFS_ATTRIB_LARGE_FILE = 0x01;
inline constexpr UINT8 FFS_ATTRIB_CHECKSUM = 0x40;

/// EFI_FFS_FILE_HEADER::FileChecksum of a file without FFS_ATTRIB_CHECKSUM.
inline constexpr UINT8 FFS_FIXED_CHECKSUM = 0xAA;

/// Bits of EFI_FFS_FILE_HEADER::State, inverted where what is erased is ones.
inline constexpr UINT8 EFI_FILE_HEADER_CONSTRUCTION = 0x01;
inline constexpr UINT8 EFI_FILE_HEADER_VALID = 0x02;
inline constexpr UINT8 EFI_FILE_DATA_VALID = 0x04;

/// The state of a file that is whole, where what is erased is ones.
inline constexpr UINT8 FFS_VALID_STATE = static_cast<UINT8> (
    ~(EFI_FILE_HEADER_CONSTRUCTION | EFI_FILE_HEADER_VALID | EFI_FILE_DATA_VALID));

struct [[gnu::packed]] EFI_FFS_FILE_HEADER {
  EFI_GUID Name;
  /// The bytes of the header add up to 0, with FileChecksum and State taken as 0.
  UINT8 HeaderChecksum;
  /// The bytes behind the header add up to 0 with it.
  UINT8 FileChecksum;
  UINT8 Type;
  UINT8 Attributes;
  UINT8 Size[3]; ///< Bytes of the file with this header, the low byte first.
  UINT8 State;
};
LAYOUT_OFFSET (EFI_FFS_FILE_HEADER, Type, 18);
LAYOUT_OFFSET (EFI_FFS_FILE_HEADER, Size, 20);
LAYOUT_SIZE (EFI_FFS_FILE_HEADER, 24);

/// Types of a section.
inline constexpr UINT8 EFI_SECTION_PE32 = 0x10;
inline constexpr UINT8 EFI_SECTION_VERSION = 0x14;
inline constexpr UINT8 EFI_SECTION_USER_INTERFACE = 0x15;
inline constexpr UINT8 EFI_SECTION_MM_DEPEX = 0x1C;
inline constexpr UINTN EFI_SECTION_ALIGNMENT = 4;

struct [[gnu::packed]] EFI_COMMON_SECTION_HEADER {
  UINT8 Size[3]; ///< Bytes of the section with this header, the low byte first.
  UINT8 Type;
};
LAYOUT_SIZE (EFI_COMMON_SECTION_HEADER, 4);

/// Opcodes of a dependency expression. The first three are followed by a GUID.
enum DependencyOpcode : UINT8 {
  EFI_DEP_BEFORE,
  EFI_DEP_AFTER,
  EFI_DEP_PUSH,
  EFI_DEP_AND,
  EFI_DEP_OR,
  EFI_DEP_NOT,
  EFI_DEP_TRUE,
  EFI_DEP_FALSE,
  EFI_DEP_END,
};

/// The number in the three bytes of a Size.
constexpr UINT32
FirmwareSize (const UINT8 (&Size)[3])
{
  return Size[0] | static_cast<UINT32> (Size[1]) << 8 | static_cast<UINT32> (Size[2]) << 16;
}

/// The sum of Size bytes, modulo 256.
constexpr UINT8
FirmwareSum8 (const UINT8 *Bytes, UINTN Size)
{
  UINT8 Sum = 0;
  for (UINTN Index = 0; Index < Size; ++Index) {
    Sum = static_cast<UINT8> (Sum + Bytes[Index]);
  }
  return Sum;
}

/// What the bytes of a file's header add up to, with FileChecksum and State taken as 0.
inline UINT8
FirmwareHeaderSum (const EFI_FFS_FILE_HEADER &Header)
{
  const UINT8 Sum = FirmwareSum8 (reinterpret_cast<const UINT8 *> (&Header), sizeof Header);
  return static_cast<UINT8> (Sum - Header.FileChecksum - Header.State);
}

/// Offset, or the next multiple of Alignment, a power of two, behind it.
constexpr UINT64
FirmwareAlign (UINT64 Offset, UINT64 Alignment)
{
  return (Offset + Alignment - 1) & ~(Alignment - 1);
}

/// The sum of the 16-bit words in Size bytes, an even number, modulo 65536.
constexpr UINT16
FirmwareSum16 (const UINT8 *Bytes, UINTN Size)
{
  UINT16 Sum = 0;
  for (UINTN Index = 0; Index < Size; Index += 2) {
    Sum = static_cast<UINT16> (Sum + Bytes[Index] + Bytes[Index + 1] * 256);
  }
  return Sum;
}
